// SPDX-License-Identifier: MIT
// Files that tie registrations to liveries: the update server's document and the user's own text files. Worker. What is
// wrong in them goes to the log and never stops the program.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct RegcodeEntry {
    std::string title;
    std::vector<std::string> regs; ///< none = the title must not be used
    bool special = false;          ///< nobody but these registrations gets the title
};

/// Appends the entries of a scrambled document. False (logged) when it cannot be loaded; nothing is appended then.
bool readRegcodeDocument(const std::filesystem::path& file, std::vector<RegcodeEntry>& entries);
/// Appends the entries of one text, the content of `file`. False when a line of it is wrong; the good ones are
/// appended.
bool readRegcodeText(std::string_view text, const std::string& file, std::vector<RegcodeEntry>& entries);
/// Appends the entries of all text files in "input/my_regcodes", by name without regard to case: of two files that name
/// a registration the later one wins. False when any of them is wrong.
bool readMyRegcodes(std::vector<RegcodeEntry>& entries);
/// "input/my_regcodes" holds anything.
bool hasMyRegcodes();

} // namespace kes
