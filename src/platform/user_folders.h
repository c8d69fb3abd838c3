// SPDX-License-Identifier: MIT
// Where programs of another system keep a user's data on this one: inside Proton and Wine prefixes, which show them a
// Windows machine. On Windows itself there are none, and paths are taken as they stand. Any thread; what cannot be
// read is passed over.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::platform {

struct UserFolders {
    std::filesystem::path prefix;         ///< root of the prefix, holds "drive_c"
    std::filesystem::path roaming, local; ///< application data; at least one of them exists
};

/// The users of the prefixes that the environment names (STEAM_COMPAT_DATA_PATH, WINEPREFIX), of the one that Steam
/// made for the application `appId` in each library, and of all others, in this order. Each prefix comes once. A list
/// of libraries that is there but cannot be read costs a line in `unreadable`, when given.
std::vector<UserFolders> prefixUserFolders(std::string_view appId, std::vector<std::string>* unreadable = nullptr);

/// The file that a path such as "Z:\\home\\me" names inside a prefix: through its drive links, and in any case where
/// the exact name does not exist. Empty when the prefix has no such drive.
std::filesystem::path pathInPrefix(const std::filesystem::path& prefix, std::string_view windowsPath);

/// `folder` / `name`; when that does not exist, the first entry of the folder by name that differs in ASCII case only,
/// if there is one.
std::filesystem::path childAnyCase(const std::filesystem::path& folder, std::string_view name);

} // namespace kes::platform
