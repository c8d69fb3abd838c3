// SPDX-License-Identifier: MIT
// The aircraft titles that the stand-in simulator has "installed".
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>

namespace kes::world {

struct Titles {
    std::unordered_set<std::string> known; ///< UTF-8; empty = every title is known
};

/// One title a line, blank lines and lines that begin with '#' left out. Throws runtime_error when it cannot be read.
void addTitlesFromFile(Titles& titles, const std::filesystem::path& file);
/// The "title=" lines of every aircraft.cfg below a folder. Returns the number of files read; throws runtime_error when
/// the folder is not there. A file that cannot be read is passed over, as the simulator does.
std::size_t addTitlesFromFolder(Titles& titles, const std::filesystem::path& folder);
/// The titles of one aircraft.cfg: the text between double quotes if there are any, else up to a ';'.
void addTitlesFromConfig(Titles& titles, std::string_view content);

/// Compares a title as it came over the wire: cut to its field, in UTF-8 or ISO 8859-1.
bool isKnownTitle(const Titles& titles, std::string_view wireTitle);

} // namespace kes::world
