// SPDX-License-Identifier: MIT
#include "airports/addon_offline.h"

#include "airports/addon_link.h"
#include "airports/airport_xml.h"
#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "update/download.h"

#include <algorithm>
#include <fmt/format.h>
#include <system_error>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t enoughWeeks = 23;
constexpr std::int64_t tooSlowMs = 4000; ///< for an answer about one file; hundreds may be asked for
constexpr std::size_t leastName = 4;     ///< bytes of a maker's name that can mean something

std::string textOf(const pugi::xml_document& document, const char* name) {
    return std::string(parameterText(document, name).value_or(""));
}

/// An airport of which the archive's own file is the better one.
bool isLeftOut(const fs::path& file) {
    pugi::xml_document document;
    return file.stem() == "KMCI" && loadXml(document, file) && textOf(document, "publisher") == "TropicalSim";
}

bool copyForHandOver(const fs::path& file) {
    const fs::path target = tbloFolder / file.filename();
    std::error_code error;
    fs::create_directories(tbloFolder, error);
    if (!fs::copy_file(file, target, fs::copy_options::overwrite_existing, error)) {
        logWarning(fmt::format("\"{}\" failed to copy \"{}\"", platform::pathText(file), error.message()));
        return false;
    }
    log(fmt::format("{} copied to {}", platform::pathText(file), platform::pathText(target)));
    if (fs::exists(fs::path(file).replace_extension(".txt"), error))
        removeQuietly(file);
    return true;
}

} // namespace

bool suitableForOffline(std::string_view code) {
    const fs::path stock = fmt::format("{}.xml", code);
    const std::string url = fmt::format("{}archive/stock/{}.xml", airportsBaseUrl(true), code);
    log(url);
    const auto refuse = [&](const char* why) {
        logWarning(fmt::format("Failed to {} {}", why, url));
        logWarning(fmt::format("{} Not suitable for offline learning", code));
        removeQuietly(stock);
        return false;
    };
    const CurlHandle curl;
    if (!downloadToFile(curl.handle, url, stock, false))
        return refuse("download");
    pugi::xml_document document;
    if (!loadXml(document, stock))
        return refuse("load");
    removeQuietly(stock);
    const bool hasQuality =
        std::max(parameterInt(document, "Qf_real").value_or(-1), parameterInt(document, "Qf_soft").value_or(-1)) >= 0;
    return hasQuality && parameterInt(document, "RT_traffic_week").value_or(-1) >= enoughWeeks;
}

std::string offlineCandidate(const fs::path& path) {
    pugi::xml_document document;
    if (!loadXml(document, path))
        return fmt::format("\"{}\" not found", platform::pathText(path));
    if (textOf(document, "publisher") != "unknown")
        return {};
    const std::string manufacturer = textOf(document, "manufacturer"), creator = textOf(document, "creator");
    if (std::max(manufacturer.size(), creator.size()) >= leastName)
        return {};
    return fmt::format("{}={}, {}={}", "manufacturer", manufacturer, "creator", creator);
}

std::vector<fs::path> generatedAirports() {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator it(path::myThirdparty, error), end; !error && it != end; it.increment(error)) {
        const std::string stem = platform::pathText(it->path().stem());
        if (stem.size() == 4 && equalsNoCase(platform::pathText(it->path().extension()), ".xml"))
            files.push_back(it->path());
    }
    std::ranges::sort(files);
    return files;
}

std::int32_t gatherForHandOver(const std::vector<fs::path>& files) {
    std::int32_t count = 0;
    bool answers = true;
    for (const fs::path& file : files) {
        if (stopWanted())
            return count;
        if (isLeftOut(file)) {
            removeQuietly(file);
            continue;
        }
        const std::int64_t asked = monotonicMs();
        if (suitableForOffline(platform::pathText(file.stem()))) {
            if (offlineCandidate(file).empty())
                count += copyForHandOver(file) ? 1 : 0;
        } else if (monotonicMs() - asked > tooSlowMs) {
            logWarning("The update server does not answer, the other airports are not asked for");
            answers = false;
            break;
        }
    }
    if (count > 0) {
        log(fmt::format("{} airport{} for off line learning in folder \"{}\", please send it in as a zip", count,
                        plural(count), platform::pathText(tbloFolder)));
    } else if (answers) {
        log("All your third party airports are done, no off line learning needed.");
    }
    return count;
}

} // namespace kes
