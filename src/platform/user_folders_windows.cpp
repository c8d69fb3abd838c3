// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/system.h"
#include "platform/user_folders.h"

namespace kes::platform {

std::vector<UserFolders> prefixUserFolders(std::string_view, std::vector<std::string>*) {
    return {};
}

std::filesystem::path pathInPrefix(const std::filesystem::path&, std::string_view windowsPath) {
    return pathFrom(windowsPath);
}

// The file system looks without regard to case by itself.
std::filesystem::path childAnyCase(const std::filesystem::path& folder, std::string_view name) {
    return folder / pathFrom(name);
}

} // namespace kes::platform

#endif
