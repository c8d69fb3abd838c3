// SPDX-License-Identifier: MIT
// The package of airport files of the simulator of 2024, kept at the version of the update server. Worker; see
// download.h.
#pragma once

namespace kes {

bool simaddonFolderMissing(); ///< also when it cannot be looked at
/// Brings the package of airport files up to the server's version, which is stored only when every file of the package
/// was written; the files before it stay otherwise. False when the server told no version. Throws filesystem_error, and
/// std::out_of_range for a stored version that fits no int.
bool updateMySimaddon();

} // namespace kes
