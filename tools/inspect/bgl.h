// SPDX-License-Identifier: MIT
// Looks at compiled scenery from the shell: what the reader of the add-on scan takes from each file, and what the scan
// makes of the airports of whole folders.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace kes::inspect {

/// Per file: the quick test, the type of the first record, the airports in file order with their stands, identifiers
/// that were passed over, what the reader told, and why it gave up. Headings in degrees, 0 is 360; radii in metres.
/// "unused" is marked what airports of a form that is not read have for an identifier: the scan does not go by it.
nlohmann::ordered_json inspectBgl(const std::vector<std::string>& files, bool msfs2024);

/// What a scan of the folders does with each airport, in the order of the walk, and its report. Everything is written
/// to the current folder, a `WorkFolder`; airports are known from the program folder, publishers from the reference
/// data, which must be read.
nlohmann::ordered_json inspectAddons(const std::vector<std::filesystem::path>& folders,
                                     const std::filesystem::path& program, bool msfs2024);

/// Writes the first airport of a scenery file that has stands as the scan would do, below the current folder, and
/// returns the place. Throws std::runtime_error when there is none.
std::filesystem::path airportFileFromBgl(const std::filesystem::path& file);

} // namespace kes::inspect
