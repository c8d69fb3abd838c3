// SPDX-License-Identifier: MIT
// Data bases in the public forms that people have. Rows that cannot be used go to the count; a file that cannot be read
// at all throws std::runtime_error.
#pragma once

#include "tools/pack/sources.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace kes::pack {

/// Types that the plain sources lack; those that they have keep their row.
void importTypeList(const TypeListImport& import, Sources& sources, PackCount& count);
/// Airframes that the plain sources lack, of types and airlines that are known by now.
void importAircraft(const AircraftImport& import, Sources& sources, PackCount& count);
/// Sorted by code. One without an elevation has an empty text for it.
std::vector<AirportRow> importOurAirports(const std::filesystem::path& file, PackCount& count);
/// Puts those without an elevation at sea level.
void putAtSeaLevel(std::vector<AirportRow>& airports, PackCount& count);

/// The category of a type that is known by its wake class (J, H, M, L, or several of them), its description ("L2J", or
/// the word for its kind) and, when the description has no letters for them, engine type and number. Nothing without a
/// wake class.
std::optional<AircraftCategory> categoryFrom(std::string_view wake, std::string_view description,
                                             std::string_view engine, std::string_view engines);

} // namespace kes::pack
