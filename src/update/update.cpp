#include "update/update.h"

#include <filesystem>

#include "core/folders.h"

namespace kes {

void checkProgramVersion() {}
bool simaddonFolderMissing() { return !std::filesystem::is_directory(path::mySimaddon); }
void updateMySimaddon() {}

} // namespace kes
