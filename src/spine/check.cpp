// SPDX-License-Identifier: MIT
#include "spine/check.h"

#include "airports/airport_table.h"
#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/parameters_file.h"
#include "core/version.h"
#include "core/window.h"
#include "feed/port_advice.h"
#include "feed/qnh_reader.h"
#include "feed/traffic_reader.h"
#include "install/install.h"
#include "liveries/package_finders.h"
#include "liveries/store.h"
#include "platform/output.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "reference/reference_document.h"
#include "simconnect/open.h"
#include "spine/worker.h"
#include "update/download.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr int simulatorMs = 3000; ///< one that runs answers at once

/// What an item has to say when all is well. One that is not well throws, an AdvisedError when it knows a cure.
using Item = std::string();

std::string programFolder() {
    std::string here = platform::pathText(fs::current_path());
    for (const fs::path* folder : {&path::docs, &path::input}) {
        if (!fs::is_directory(*folder))
            throw AdvisedError(fmt::format("{} has no folder \"{}\"", here, platform::pathText(*folder)),
                               "Unpack the whole package and start the program there, or name its folder with "
                               "--folder.");
    }
    if (!platform::takeFolderLock(path::instanceLock))
        throw AdvisedError(fmt::format("another {} works in {}", programName, here), "Close it.");
    return here;
}

std::string logFile() {
    openLog(path::log);
    if (!flushLog(simulatorMs) || !logTrouble().empty())
        throw AdvisedError(fmt::format("{} cannot be written: {}", platform::pathText(path::log), logTrouble()),
                           "Is the disk full?");
    createFolders();
    return platform::pathText(path::log);
}

std::string settings() {
    fs::create_directories(userDataFolder());
    readParameters();
    return platform::pathText(parametersFile());
}

std::string referenceData() {
    try {
        readDataBase();
    } catch (const std::exception& error) {
        throw AdvisedError(error.what(), fmt::format("Asked for at {}; another place can be named in \"{}\".",
                                                     downloadBase(), platform::pathText(path::updateServer)));
    }
    return "read from " + downloadBase();
}

std::string airports() {
    if (!readAirportTable())
        throw AdvisedError("no airports could be read", fmt::format("Is \"{}\" there? Unpack the whole package.",
                                                                    platform::pathText(path::airportsMsfs)));
    return fmt::format("{} known", airportTable.size());
}

std::string simulatorFolder() {
    const std::string set = selectedInstallPath().get();
    const std::string folder = set.empty() ? detectPackagesPath() : set;
    const std::string cure =
        fmt::format("Set {} in {} to the folder that holds \"Community\" of MSFS 20{}.", selectedInstallPath().name,
                    platform::pathText(parametersFile()), par::MSFS_2020 ? "20" : "24");
    if (folder.empty())
        throw AdvisedError(fmt::format("no MSFS 20{} was found", par::MSFS_2020 ? "20" : "24"), cure);
    if (!fs::is_directory(platform::pathFrom(folder) / "Community"))
        throw AdvisedError(fmt::format("there is no Community folder in {}", folder), cure);
    return folder + (set.empty() ? " (found)" : "");
}

std::string packages() {
    const std::string set = selectedInstallPath().get();
    const fs::path community = platform::pathFrom(set.empty() ? detectPackagesPath() : set) / "Community";
    std::vector<fs::path> folders;
    if (par::LIG_AUTOMATIC) {
        if (fs::is_directory(community))
            folders = findAiPackages(community);
    } else {
        for (const TextParameter& parameter : par::lfolder) {
            if (!parameter.empty() && fs::is_directory(platform::pathFrom(parameter.get())))
                folders.push_back(platform::pathFrom(parameter.get()));
        }
    }
    if (folders.empty())
        throw AdvisedError("no package of AI aircraft was found",
                           "Install AIG, FSLTL or Just Flight traffic, or name your folders, see the manual, 5.1.");
    std::string text;
    for (const fs::path& folder : folders)
        text += (text.empty() ? "" : ", ") + platform::pathText(folder.filename());
    return text;
}

std::string liveries() {
    if (par::SCAN_LIVERIES || !fs::exists(path::liveriesScanned))
        return "will be scanned at the start";
    processScannedLiveries();
    return fmt::format("{} in the list of the last scan", liveryCount());
}

std::string simulator() {
    simconnect::OpenTry attempt;
    attempt.timeoutMs = simulatorMs;
    simconnect::HANDLE handle = nullptr;
    const bool open = simconnect::openSimulator(handle, "Kestrelune check", 0, attempt) == simconnect::S_OK;
    std::string place = fmt::format("{} ({})", attempt.address.empty() ? "no address" : attempt.address,
                                    attempt.file.empty() ? "no SimConnect.cfg names another" : "from " + attempt.file);
    if (!open)
        throw AdvisedError(
            fmt::format("{} {}", place,
                        attempt.reached ? "takes the connection but does not answer" : "cannot be reached"),
            attempt.doubt + (attempt.doubt.empty() ? "" : " ") +
                "Start the simulator; its SimConnect.xml needs a listener of protocol IPv4 for this port. "
                "Manual, chapter 3.");
    simconnect::SimConnect_Close(handle);
    return place + (attempt.doubt.empty() ? "" : ". ") + attempt.doubt;
}

void wantUdp(std::uint16_t port) {
    platform::Socket socket;
    if (socket.openUdp() != 0 || socket.bindUdp(port, false) != 0)
        throw AdvisedError(fmt::format("UDP port {} cannot be had", port),
                           portAdvice(port, platform::PortKind::udp, {}));
}

std::string source() {
    const bool here = fs::exists(realTrafficJar());
    if (here && !par::AEROWINX) {
        platform::Socket socket;
        const char* step = "";
        const std::string port = par::PORT_NUMBER.get();
        std::uint16_t number = 0;
        const auto parsed = std::from_chars(port.data(), port.data() + port.size(), number);
        if (parsed.ec != std::errc() || parsed.ptr != port.data() + port.size())
            throw AdvisedError(fmt::format("PORT_NUMBER is \"{}\"", port), "It has to be a number from 1 to 65535.");
        if (socket.listenTcp(port, step, true) != 0)
            throw AdvisedError(fmt::format("TCP port {} cannot be had", port),
                               portAdvice(number, platform::PortKind::tcp, par::PORT_NUMBER.name));
    }
    wantUdp(trafficPort);
    wantUdp(weatherPort);
    return here ? fmt::format("RealTraffic was found on this PC; TCP port {}, UDP ports {} and {} are free",
                              par::PORT_NUMBER.get(), trafficPort, weatherPort)
                : fmt::format("RealTraffic was not found on this PC: it has to send to UDP ports {} and {} from "
                              "another one; both are free here",
                              trafficPort, weatherPort);
}

void print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

/// What the steps of a start show on the line stands below the item.
void printLine(std::string_view text, bool, std::string_view advice) {
    if (!text.empty())
        print(fmt::format("        {}\n", text));
    if (!advice.empty())
        print(fmt::format("        {}\n", advice));
}

} // namespace

int runCheck() {
    WindowBackend backend;
    backend.drawMessageLine = printLine;
    setWindowBackend(backend);
    if (const int error = platform::startSockets()) {
        print(fmt::format("FAULT   network: {}\n", socketErrorText(error)));
        return 1;
    }
    const struct {
        const char* name;
        Item* item;
        bool needed; ///< by what follows
    } items[] = {
        {"program folder", programFolder, true},
        {"log", logFile, true},
        {"settings", settings, true},
        {"reference data", referenceData, false},
        {"airports", airports, false},
        {"simulator's packages", simulatorFolder, false},
        {"AI aircraft", packages, false},
        {"liveries", liveries, false},
        {"simulator", simulator, false},
        {"traffic source", source, false},
    };
    int faults = 0;
    for (const auto& [name, item, needed] : items) {
        try {
            print(fmt::format("ok      {}: {}\n", name, item()));
        } catch (const std::exception& error) {
            ++faults;
            const std::string cure = adviceOf(error);
            print(fmt::format("FAULT   {}: {}\n{}", name, error.what(),
                              cure.empty() ? "" : fmt::format("        {}\n", cure)));
            if (needed)
                break;
        }
    }
    platform::endSockets();
    closeLog();
    print(faults == 0 ? "check: all is ready for a flight\n"
                      : fmt::format("check: {} fault{}\n", faults, faults == 1 ? "" : "s"));
    return faults == 0 ? 0 : 1;
}

} // namespace kes
