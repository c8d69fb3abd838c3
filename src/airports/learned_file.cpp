// SPDX-License-Identifier: MIT
#include "airports/learned_file.h"

#include "airports/airport_source.h"
#include "airports/airport_xml.h"
#include "core/change.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/window.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "reference/text_map.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <system_error>

namespace kes {

namespace fs = std::filesystem;

LearnedFileHooks learnedFileHooks;

namespace {

LogLimiter learnedLog("learned airport files");

constexpr std::int32_t usualPercentage = 30;

void logValue(std::string_view name, std::string_view value) {
    log(fmt::format("{:24}: {}", name, value));
}

/// Applies a number, when it is there, and logs it. The box follows.
bool takeInt(const pugi::xml_document& document, IntBox& box) {
    const std::optional<std::int32_t> value = parameterInt(document, box.name.data());
    if (!value)
        return false;
    changeForNow(box, *value);
    logValue(box.name, std::to_string(box));
    return true;
}

void takeBool(const pugi::xml_document& document, BoolBox& box) {
    if (const std::optional<std::string_view> value = parameterText(document, box.name.data())) {
        changeForNow(box, isTrue(*value));
        logValue(box.name, box ? "true" : "false");
    }
}

void takeAutoRange(const pugi::xml_document& document) {
    if (!parameterText(document, par::AUTO_RANGE.name.data()))
        return;
    takeBool(document, par::AUTO_RANGE);
    if (learnedFileHooks.autoRangeSwitched != nullptr)
        learnedFileHooks.autoRangeSwitched(par::AUTO_RANGE);
}

void takeRange(const pugi::xml_document& document) {
    // Switching the automatic range off leads back to the range before it, and the airport's own comes after that;
    // switching it on remembers a range and then sets one itself.
    const bool comesOn = isTrue(parameterText(document, par::AUTO_RANGE.name.data()).value_or(""));
    if (!comesOn)
        takeAutoRange(document);
    if (takeInt(document, par::LATERAL_RANGE))
        setRange(static_cast<float>(par::LATERAL_RANGE));
    if (comesOn)
        takeAutoRange(document);
}

void takeMostLive(const pugi::xml_document& document) {
    const std::int32_t before = par::MAX_LIVE;
    if (!takeInt(document, par::MAX_LIVE))
        changeForNow(par::MAX_LIVE, -1);
    if (par::MAX_LIVE != before)
        windowRequests.maxLive = true;
}

void takeMaxFit(const pugi::xml_document& document) {
    const std::optional<std::int32_t> value = parameterInt(document, par::MAX_FIT.name.data());
    if (!value)
        return;
    changeForNow(par::MAX_FIT, *value);
    log(fmt::format("{:24}: {} (max number of half hours, is {} hrs decimal)", par::MAX_FIT.name,
                    std::to_string(par::MAX_FIT), shortest(par::MAX_FIT * 0.5 + 0.5)));
}

/// The settings that hold while this airport is the park airport, in the order in which a file has them. They are not
/// the user's general ones, so they do not go into the parameter file.
void takeSettings(const pugi::xml_document& document) {
    takeRange(document);
    for (BoolBox* box : {&par::WEEK, &par::PARK_FAKE, &par::PARK_SOFT})
        takeBool(document, *box);
    if (!takeInt(document, par::parking_percentage))
        changeForNow(par::parking_percentage, usualPercentage);
    takeBool(document, par::INITIAL_LOAD_ONLY);
    takeMaxFit(document);
    takeMostLive(document);
    takeBool(document, par::LEARN_SOFT);
}

/// "EGLL.xml" becomes "EGLL0.xml"; an earlier one is overwritten.
fs::path asideName(const fs::path& path) {
    fs::path aside = path;
    aside.replace_filename(path.stem());
    aside += "0";
    aside += path.extension();
    return aside;
}

/// A copy, since the next save writes over the file. What cannot be read can at least be moved.
void keepAside(const fs::path& path) {
    std::error_code error;
    const fs::path aside = asideName(path);
    if (fs::copy_file(path, aside, fs::copy_options::overwrite_existing, error))
        return;
    fs::rename(path, aside, error);
    if (error)
        logWarning(fmt::format("\"{}\" cannot be kept as \"{}\": {}", platform::pathText(path),
                               platform::pathText(aside), error.message()));
}

/// The same aircraft and day, and a half-hour in common.
bool areEqual(const ParkPosOption& a, const ParkPosOption& b) {
    return a.day == b.day && a.real == b.real && (a.hours & b.hours) != 0 && a.regcode == b.regcode &&
           a.airline == b.airline && a.model == b.model;
}

/// A file that was moved by hand to where that of another publisher belongs.
bool isOfOtherPublisher(const fs::path& path, std::string_view publisher) {
    const bool inItsTree = platform::pathText(path).starts_with(platform::pathText(path::learned));
    return inItsTree && path.parent_path() != learnedFolder(publisher);
}

/// Puts a file of additions on top of a list.
class Merge {
public:
    Merge(std::vector<Stand>& list, std::string_view shown) : list_(list), pathText_(shown) {
        for (std::size_t i = 0; i < list.size(); ++i)
            byId_.emplace(list[i].id, i);
    }

    void take(pugi::xml_node parkpos) {
        if (isTrue(parkpos.attribute("manual").value()))
            addManual(parkpos);
        else
            addLearned(parkpos);
    }
    bool everythingFound() const { return everythingFound_; }

private:
    void addManual(pugi::xml_node parkpos) {
        const std::string id = parkpos.attribute("id").value();
        if (byId_.contains(id)) {
            learnedLog.writeWarning(
                fmt::format("manually created standid {} already exists in {}", kes::quoted(id), pathText_));
            everythingFound_ = false;
            return;
        }
        std::optional<Stand> stand = readStand(parkpos, 0);
        if (!stand || stand->radius == 0.0 || inStartUpBox(stand->lat, stand->lon) || list_.size() >= mostStands) {
            learnedLog.writeWarning(
                fmt::format("manually created standid {} misses correct attributes in {}", kes::quoted(id), pathText_));
            everythingFound_ = false;
            return;
        }
        stand->manual = true;
        byId_.emplace(id, list_.size());
        list_.push_back(std::move(*stand));
    }

    void addLearned(pugi::xml_node parkpos) {
        const std::string_view id = parkpos.attribute("id").value();
        const std::size_t* const found = find(byId_, id);
        if (found == nullptr) {
            learnedLog.write(fmt::format("learned stand {} in {} not found?", kes::quoted(id), pathText_));
            everythingFound_ = false;
            return;
        }
        Stand& stand = list_[*found];
        if (isTrue(parkpos.attribute("radius_change").value())) {
            stand.radius = radiusOf(parkpos);
            stand.radiusChange = true;
        }
        if (isTrue(parkpos.attribute("cargo_change").value())) {
            stand.cargo = isTrue(parkpos.attribute("cargo").value());
            stand.cargoChange = true;
        }
        for (const pugi::xml_node opt : parkpos.children("opt")) {
            ParkPosOption option = readOption(opt, 0);
            if (std::ranges::any_of(stand.options, [&](const ParkPosOption& o) { return areEqual(o, option); }))
                continue;
            option.optIndex = stand.options.empty() ? 1 : stand.options.back().optIndex + 1;
            stand.options.push_back(std::move(option));
        }
    }

    std::vector<Stand>& list_;
    std::string pathText_;
    TextMap<std::size_t> byId_;
    bool everythingFound_ = true;
};

void readLearned(const fs::path& path, std::string_view airportName, std::vector<Stand>& list, bool& handmade) {
    const std::string pathText = platform::pathText(path);
    pugi::xml_document document;
    if (const pugi::xml_parse_result result = loadXml(document, path); !result) {
        keepAside(path);
        log(fmt::format("{} found, but could not be loaded, saved as *.0.xml: {}", pathText, result.description()));
        return;
    }
    log(fmt::format("Read from learned airport file: \"{}\"", pathText));
    const std::string_view learnedName = parameterText(document, "airport_name").value_or("");
    if (learnedName != airportName) {
        showStatus(
            fmt::format("Warning: learned file airport name: \"{}\" differs from archived file airport name: \"{}\"",
                        kes::quoted(learnedName), kes::quoted(airportName)),
            true);
    }
    const std::optional<std::string_view> publisher = parameterText(document, "publisher");
    const bool isForeign = publisher && isOfOtherPublisher(path, *publisher);
    if (isForeign) {
        showStatus(fmt::format("Warning: learned file {} is of publisher \"{}\"", pathText, kes::quoted(*publisher)),
                   true);
    }
    takeSettings(document);
    if (const std::optional<std::string_view> value = parameterText(document, "handmade")) {
        std::vector<Stand> whole; // the base stays if this one cannot be read to its end
        readStands(document, 1, whole);
        list = std::move(whole);
        handmade = true;
        logValue("handmade", kes::quoted(*value));
        return;
    }
    const bool everythingFound = mergeLearned(document, pathText, list);
    if (isForeign || !everythingFound)
        keepAside(path);
}

} // namespace

bool mergeLearned(const pugi::xml_document& document, std::string_view shown, std::vector<Stand>& list) {
    Merge merge(list, shown);
    for (const pugi::xml_node parkpos : document.child("parkpositions").children("parkpos"))
        merge.take(parkpos);
    return merge.everythingFound();
}

void lf_readLearned(const fs::path& path, std::string_view airportName, std::vector<Stand>& list, bool& handmade) {
    try {
        readLearned(path, airportName, list, handmade);
    } catch (const std::exception& error) {
        log(fmt::format("{}: {}", "lf_readLearned", error.what()));
        keepAside(path);
    }
}

} // namespace kes
