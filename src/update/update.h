// What comes from the update server. Worker. This first form knows no server: each operation finds nothing new.
#pragma once

namespace kes {

void checkProgramVersion();
bool simaddonFolderMissing();
void updateMySimaddon();

} // namespace kes
