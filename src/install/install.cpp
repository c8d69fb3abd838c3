#include "install/install.h"

#include "core/parameters.h"
#include "platform/system.h"

namespace kes {

std::string detectPackagesPath() {
    return {};
}

std::filesystem::path installSubFolder(const std::string& folder) {
    const TextParameter& selected = par::MSFS_2020 ? par::MSFS_INSTALL_PATH : par::MSFS_2024_INSTALL_PATH;
    return platform::pathFrom(selected.get()) / folder;
}

} // namespace kes
