// SPDX-License-Identifier: MIT
// The fixed paths of the program. All are relative to the program's folder, which is the current directory,
// but for the user's data folder.
#pragma once

#include <filesystem>

namespace kes {

namespace path {
extern const std::filesystem::path docs, log, installNewVersion, input, referenceDocument, aigRegcodes, airports,
    airportsMsfs, airportsMsfsNames, myRegcodes, output, liveriesScanned, outputInfo, outputErrors, myParkAirports,
    mySimaddon, myThirdparty, learned, learnedStock, learnedSimaddon, learnedThirdparty, callsign2ObjectId,
    updateServer, ///< "input/update_server.txt": one line, the download base
    instanceLock; ///< held as long as a program works in its folder
}

/// The user's roaming application data folder; empty (and logged) when it cannot be told.
std::filesystem::path roamingFolder();
/// roamingFolder / "Kestrelune". The result is fixed at the first call; `setUserDataFolder` replaces it in tests.
std::filesystem::path userDataFolder();
/// For tests, before threads are started.
void setUserDataFolder(const std::filesystem::path& folder);
std::filesystem::path parametersFile();   ///< user data / "parameters.xml"
std::filesystem::path flightPlanFolder(); ///< user data / "orig_dest"
std::filesystem::path realTrafficJar();   ///< roaming / "InsideSystems" / "RealTraffic.jar"

/// Creates the folders of the tree that do not exist, in a fixed order. Throws filesystem_error ("status",
/// "create_directory"). Worker.
void createFolders();

/// Removes all that is in a folder. Throws user error 5 with the file system's text when something stays.
void emptyFolder(const std::filesystem::path& folder);

/// Number of regular files directly in a folder; 0 when it does not exist.
std::size_t countFiles(const std::filesystem::path& folder);

} // namespace kes
