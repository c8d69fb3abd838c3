// SPDX-License-Identifier: MIT
// Where the program works. Its paths are relative to one folder with docs, input and updates in it, which a user who
// unpacked it has; an installed program makes one for each user and brings along what was installed.
#pragma once

#include <filesystem>

namespace kes {

/// What an installation holds for every user: the folder beside the executable's folder, "share/kestrelune". Empty
/// when the program was not installed, but unpacked or built.
std::filesystem::path installedContent();

/// Makes the folder that the program works in the current directory.
/// `named` by the command line: that one, made when it does not exist. Otherwise the current directory stays, unless
/// the program is installed and this is no program folder: then it is the user's own, "Kestrelune" in the local data
/// folder. Into the two that are made comes what `content` holds, anew whenever that has changed: all of docs and
/// updates, and of input what is no setting of the user. An empty `content` brings nothing.
/// Throws runtime_error with the reason when there is no such folder to be had. Main thread, before any other.
void enterProgramFolder(const std::filesystem::path& named, const std::filesystem::path& content);

} // namespace kes
