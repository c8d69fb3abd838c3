#include "update/update.h"

#include "core/folders.h"

#include <filesystem>

namespace kes {

void checkProgramVersion() {}
bool simaddonFolderMissing() {
    return !std::filesystem::is_directory(path::mySimaddon);
}
void updateMySimaddon() {}

} // namespace kes
