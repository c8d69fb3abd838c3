// SPDX-License-Identifier: MIT
#include "tools/pack/pack.h"

#include "platform/system.h"
#include "platform/zip.h"
#include "reference/reference_document.h"
#include "tools/pack/airport_check.h"
#include "tools/pack/document.h"
#include "tools/pack/doubts.h"
#include "tools/pack/imports.h"
#include "tools/pack/routes.h"
#include "tools/pack/sources.h"
#include "tools/pack/stock_files.h"
#include "update/server_version.h"
#include "update/sha256.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <map>
#include <stdexcept>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !fs::is_directory(folder)) {
        throw std::runtime_error(fmt::format("cannot make folder {}: {}", platform::pathText(folder),
                                             error ? error.message() : "a file of that name is in the way"));
    }
}

/// In one step, since a server may be handing the old file out right now.
void writeFile(const fs::path& file, const std::string& content) {
    const auto present = readBytes(file);
    if (present && *present == content) {
        return;
    }
    makeFolder(file.parent_path());
    std::string reason;
    if (!platform::replaceFile(file, content, reason)) {
        throw std::runtime_error(fmt::format("cannot write {}: {}", platform::pathText(file), reason));
    }
}

using Entries = std::map<std::string, std::string>; ///< name to content

/// Returns its SHA-256.
std::string writeZip(const fs::path& file, Entries entries) {
    makeFolder(file.parent_path());
    struct Beside {
        fs::path path;
        ~Beside() {
            std::error_code ignored;
            fs::remove(path, ignored);
        }
    } beside{file};
    beside.path += ".new";
    platform::ZipArchive zip(beside.path);
    bool good = zip.open(platform::ZipArchive::OpenMode::create);
    for (auto& [name, content] : entries) {
        good = good && zip.addData(name, std::move(content));
    }
    good = good && zip.close();
    const auto bytes = good ? readBytes(beside.path) : std::nullopt;
    if (!bytes) {
        throw std::runtime_error("cannot write " + platform::pathText(beside.path));
    }
    writeFile(file, *bytes);
    return sha256Of(*bytes);
}

Version wantedVersion(const std::string& text, const std::string& whose) {
    Version version;
    try {
        version = parseVersion(text);
    } catch (const std::out_of_range&) {
    }
    if (version == Version{}) {
        throw std::runtime_error(fmt::format("\"{}\" is no version of {}", text, whose));
    }
    return version;
}

/// One line, since readers look no further. Without a hash where there is no zip.
std::string versionJson(const Version& version, const std::string& sha256) {
    return fmt::format("{{\"major\":{},\"minor\":{},\"patch\":{}{}}}\n", version.major, version.minor, version.patch,
                       sha256.empty() ? "" : fmt::format(",\"sha256\":\"{}\"", sha256));
}

/// Of the installer that somebody has put into the folder; empty when there is none.
std::string installerHash(const fs::path& folder, const Version& program) {
    const fs::path file = folder / fmt::format("setup_{}_d_v{}.zip", programName, toText(program));
    std::error_code error;
    if (!fs::exists(file, error)) {
        return {};
    }
    const std::string hash = sha256OfFile(file);
    if (hash.empty()) {
        throw std::runtime_error("cannot read " + platform::pathText(file));
    }
    return hash;
}

/// The airport files of the package for the simulator of 2024, and its version.
struct Package {
    Entries files;
    Version version;
};

Package readPackage(const PackPlan& plan) {
    Package package;
    const fs::path folder = plan.data / "my_simaddon";
    std::error_code error;
    for (fs::directory_iterator walk(folder, error), end; !error && walk != end; walk.increment(error)) {
        std::string extension = platform::pathText(walk->path().extension());
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (!walk->is_regular_file() || extension != ".txt") {
            continue;
        }
        auto bytes = readBytes(walk->path());
        if (!bytes) {
            throw std::runtime_error("cannot read " + platform::pathText(walk->path()));
        }
        package.files.emplace(platform::pathText(walk->path().filename()), std::move(*bytes));
    }
    if (package.files.empty()) {
        return package;
    }
    const fs::path file = folder / "version.csv";
    std::string version = plan.simaddonVersion;
    if (version.empty()) {
        std::string problem;
        const auto read = readCsv(
            file, {"version"},
            [&](const CsvRow& row) {
                version = row[0];
                return std::string();
            },
            nullptr, problem);
        if (!read || version.empty()) {
            throw std::runtime_error(fmt::format("{} holds airport files, but {} tells no version of the package",
                                                 platform::pathText(folder), platform::pathText(file)));
        }
    }
    package.version = wantedVersion(version, "the my_simaddon package");
    return package;
}

/// Loads the data base that learned files were written with: an option of a known registration names no airline there.
/// Without sources it is the one of the server, if there is one.
void loadReference(const PackPlan& plan, std::string document, PackCount& count) {
    const fs::path file = plan.out / "dbase.zip";
    if (document.empty()) {
        platform::ZipArchive zip(file);
        bool good = zip.open() && zip.countEntries() > 0;
        if (good) {
            document = zip.getEntries().front().readAsText(&good);
        }
        if (!good) {
            count.remarks.push_back(
                fmt::format("{} cannot be read; options of registrations name no airline", platform::pathText(file)));
            return;
        }
    }
    reference::readDocumentText(std::move(document), file);
}

StandLayers readLayers(const PackPlan& plan, const Sources& sources, PackCount& count) {
    StandLayers layers;
    if (plan.routes) {
        const auto airports = readAirports(plan.data, count);
        if (!airports) {
            throw std::runtime_error("routes need airports.csv in " + platform::pathText(plan.data));
        }
        layers.routes = readRoutes(*plan.routes, sources, *airports, count);
        layers.sizes.emplace(sources);
    }
    if (!plan.learned.empty()) {
        layers.learned = LearnedFiles(plan.learned, count);
    }
    return layers;
}

} // namespace

PackCount packUpdates(const PackPlan& plan) {
    if (plan.out.empty()) {
        throw std::runtime_error("no folder to write to is given");
    }
    PackCount count;
    if (plan.routes && (plan.data.empty() || plan.apt.empty())) {
        throw std::runtime_error("routes need the plain sources and a layout");
    }
    const bool withStands = !plan.apt.empty() || !plan.learned.empty();
    if (plan.data.empty() && withStands) {
        if (!plan.learned.empty()) {
            loadReference(plan, {}, count);
        }
        packStands(plan.apt, plan.out, readLayers(plan, {}, count), count);
        return count;
    }
    Sources sources;
    readFirstSources(plan.data, sources, count);
    if (plan.typeList) {
        importTypeList(*plan.typeList, sources, count);
    }
    readOtherSources(plan.data, sources, count);
    count.doubtful = doubtsOf(sources); // of ours alone, since imports are not ours to mend
    for (const AircraftImport& import : plan.aircraft) {
        importAircraft(import, sources, count);
    }
    std::vector<AirportOddity> oddities = checkPlainAirports(plan.data, count);
    std::vector<AirportRow> airports;
    if (!plan.ourAirports.empty()) {
        airports = importOurAirports(plan.ourAirports, count);
        checkAirports(airports, plan.ourAirports, oddities, count);
        putAtSeaLevel(airports, count);
    }
    Package package = readPackage(plan);
    const Version program = wantedVersion(plan.programVersion, "the program");
    count.types = sources.types.size();
    count.airlines = sources.airlines.size();
    count.registrations = sources.airframes.size();
    count.similarGroups = sources.similar.size();
    count.publishers = sources.publishers.size();
    count.fixes = sources.fixes.size();
    count.thirdParties = sources.thirdParties20.size() + sources.thirdParties24.size();
    count.aigEntries = sources.regcodes.size();
    count.simaddonFiles = package.files.size();
    std::string reference = referenceDocument(sources);
    std::string regcodes = regcodeDocument(sources);
    const StandLayers layers = readLayers(plan, sources, count);
    if (!plan.learned.empty()) {
        loadReference(plan, reference, count);
    }

    // From here on files are written.
    writeZip(plan.out / "dbase.zip", {{"dbase.xml", std::move(reference)}});
    writeZip(plan.out / "AIG-regcodes.zip", {{"AIG-regcodes.xml", std::move(regcodes)}});
    if (!package.files.empty()) {
        // The package first: who has read the new version must not get the old files.
        const std::string hash = writeZip(plan.out / "mysimaddon24" / "my_simaddon2024.zip", std::move(package.files));
        writeFile(plan.out / "mysimaddon24" / "version.json", versionJson(package.version, hash));
    }
    const fs::path release = plan.out / "release";
    writeFile(release / "version.json", versionJson(program, installerHash(release, program)));
    if (!plan.ourAirports.empty()) {
        const fs::path folder = plan.airportsOut.empty() ? plan.out : plan.airportsOut;
        writeFile(folder / "airports_msfs.xml", airportTable(airports));
        writeFile(folder / "airports_msfs_names.xml", airportNames(airports));
    }
    if (withStands) {
        packStands(plan.apt, plan.out, layers, count);
    }
    return count;
}

} // namespace kes::pack
