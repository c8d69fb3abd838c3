// SPDX-License-Identifier: MIT
#include "core/folders.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/version.h"
#include "platform/system.h"

#include <mutex>
#include <optional>

namespace kes {

namespace fs = std::filesystem;

namespace path {
const fs::path docs = "docs";
const fs::path log = "Log.txt";
const fs::path installNewVersion = "install_new_version.exe";
const fs::path input = "input";
const fs::path referenceDocument = input / "temp2.xml";
const fs::path aigRegcodes = input / "AIG-regcodes.xml";
const fs::path airports = "airports";
const fs::path airportsMsfs = input / "airports_msfs.xml";
const fs::path airportsMsfsNames = input / "airports_msfs_names.xml";
const fs::path myRegcodes = input / "my_regcodes";
const fs::path output = "output";
const fs::path liveriesScanned = output / "LiveriesScanned.xml";
const fs::path outputInfo = output / "info";
const fs::path outputErrors = output / "errors";
const fs::path myParkAirports = airports / "my_park_airports.txt";
const fs::path mySimaddon = airports / "my_simaddon";
const fs::path myThirdparty = airports / "my_thirdparty";
const fs::path learned = airports / "learned";
const fs::path learnedStock = learned / "stock";
const fs::path learnedSimaddon = learned / "simaddon";
const fs::path learnedThirdparty = learned / "thirdparty";
const fs::path callsign2ObjectId = "Callsign2ObjectId.txt";
const fs::path updateServer = input / "update_server.txt";
const fs::path instanceLock = "Kestrelune.lock";
} // namespace path

namespace {

std::mutex folderMutex;
std::optional<fs::path> fixedUserDataFolder; // guarded by folderMutex

} // namespace

fs::path roamingFolder() {
    fs::path folder = platform::roamingFolder();
    if (folder.empty())
        log("Could not find the AppData path");
    return folder;
}

fs::path userDataFolder() {
    const std::lock_guard lock(folderMutex);
    if (!fixedUserDataFolder)
        fixedUserDataFolder = roamingFolder() / programName;
    return *fixedUserDataFolder;
}

void setUserDataFolder(const fs::path& folder) {
    const std::lock_guard lock(folderMutex);
    fixedUserDataFolder = folder;
}

fs::path parametersFile() {
    return userDataFolder() / "parameters.xml";
}
fs::path flightPlanFolder() {
    return userDataFolder() / "orig_dest";
}
fs::path realTrafficJar() {
    return roamingFolder() / "InsideSystems" / "RealTraffic.jar";
}

void createFolders() {
    for (const fs::path* folder :
         {&path::output, &path::outputInfo, &path::outputErrors, &path::airports, &path::learned, &path::learnedStock,
          &path::learnedSimaddon, &path::learnedThirdparty, &path::mySimaddon, &path::myThirdparty,
          &path::myRegcodes}) {
        std::error_code error;
        const fs::file_status status = fs::status(*folder, error);
        if (status.type() == fs::file_type::none)
            throw fs::filesystem_error("status", *folder, error);
        if (fs::exists(status))
            continue;
        if (!fs::create_directory(*folder, error) && error)
            throw fs::filesystem_error("create_directory", *folder, error);
    }
}

void emptyFolder(const fs::path& folder) {
    try {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            fs::remove_all(entry.path());
    } catch (const fs::filesystem_error& e) {
        throw nwk::UserErrorException(5, e.what());
    }
}

std::size_t countFiles(const fs::path& folder) {
    std::size_t count = 0;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code unreadable;
        count += entry->is_regular_file(unreadable) ? 1 : 0;
    }
    return count;
}

} // namespace kes
