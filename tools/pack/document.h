// SPDX-License-Identifier: MIT
// The texts of the documents on the update server. Written as text, not as a tree: half a million elements are many.
#pragma once

#include "tools/pack/sources.h"

#include <string>
#include <string_view>

namespace kes::pack {

/// The reference document. Throws std::runtime_error that names the source of a section that must not be empty.
std::string referenceDocument(const Sources& sources);
/// Titles of liveries with their registrations, scrambled as the reference document's.
std::string regcodeDocument(const Sources& sources);
std::string airportTable(const std::vector<AirportRow>& airports); ///< "airports_msfs.xml", in the order of the rows
std::string airportNames(const std::vector<AirportRow>& airports); ///< "airports_msfs_names.xml", likewise

/// An attribute's value that reads back as the same bytes, but for NUL, which XML cannot hold.
void appendEscaped(std::string& text, std::string_view value);

} // namespace kes::pack
