// SPDX-License-Identifier: MIT
#include "liveries/store.h"

#include "core/change.h"
#include "core/codes.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/window.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/regcode_files.h"
#include "liveries/scan_reports.h"
#include "liveries/similar.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "update/packages.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

namespace kes {

namespace {

namespace fs = std::filesystem;

LiveryTables tables;
std::unordered_set<std::string_view> allTitles;      // views of `liveryStore`
std::unordered_set<std::string_view> specialLookup;  // the same as `specialTitles`, for the search
std::unordered_map<const Titles*, Titles> openLists; // for the lists that hold a special title
std::size_t storedLiveries = 0;
bool liveriesProcessed = false;
bool roomReserved = false;

std::string_view mark(std::size_t n) {
    return plural(static_cast<std::int64_t>(n));
}

void logModelLists(const std::vector<std::string>& models) {
    constexpr std::size_t perLine = 20;
    for (std::size_t begin = 0; begin < models.size(); begin += perLine) {
        std::string line = "  ";
        for (std::size_t i = begin; i < std::min(begin + perLine, models.size()); ++i)
            line += (i == begin ? "" : ",") + models[i];
        log(line);
    }
}

/// The list is sorted, so each change of airline or model begins a new entry.
void buildStore(const std::vector<Livery>& list) {
    allTitles.reserve(list.size());
    std::vector<StoredLivery> current;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const Livery& livery = list[i];
        current.push_back({livery.title, livery.cargo});
        const bool closes =
            i + 1 == list.size() || list[i + 1].airline != livery.airline || list[i + 1].model != livery.model;
        if (closes) {
            current.shrink_to_fit();
            tables.liveryStore[livery.airline][livery.model] = std::move(current);
            current = {};
        }
    }
    for (const auto& [airline, models] : tables.liveryStore) {
        for (const auto& [model, stored] : models) {
            for (const StoredLivery& livery : stored)
                allTitles.insert(livery.title);
        }
    }
    storedLiveries = list.size();
}

void buildAirlineModel() {
    for (const auto& [airline, models] : tables.liveryStore) {
        for (const auto& [model, stored] : models) {
            std::array<Titles, 2> split;
            for (const StoredLivery& livery : stored)
                split[livery.cargo].push_back(livery.title);
            for (std::size_t kind = 0; kind < 2; ++kind) {
                if (split[kind].empty())
                    continue;
                split[kind].shrink_to_fit();
                tables.byAirlineModel[kind][airline].emplace(model, std::move(split[kind]));
            }
        }
    }
}

void applyInlineRegcodes(const std::vector<Livery>& list) {
    std::vector<std::string> lines;
    for (const Livery& livery : list) {
        if (livery.regcode.empty())
            continue;
        const std::string_view title = findTitle(livery.title);
        if (title.empty()) {
            lines.push_back(fmt::format("==> [{:3} {:4}] {} \"{}\" not available, system error, should not happen?",
                                        livery.airline, livery.model, livery.regcode, livery.title));
            continue;
        }
        const auto [place, isNew] = tables.regcodeTable.try_emplace(livery.regcode, title);
        if (!isNew && place->second != title) {
            lines.push_back(fmt::format("{} \"{}\" => already in use by \"{}\"", livery.regcode, title, place->second));
        }
    }
    if (lines.empty())
        return;
    const fs::path file = path::outputErrors / "InlineRegcodes.txt";
    writeReport(file, lines);
    log(fmt::format("{} in-line regcode clashes, see \"{}\"", lines.size(), platform::pathText(file)));
}

void applyEntries(const std::vector<RegcodeEntry>& entries, std::vector<std::string>& offlineLines) {
    std::size_t added = 0, replaced = 0, specials = 0;
    for (const RegcodeEntry& entry : entries) {
        const std::string_view title = findTitle(entry.title);
        if (title.empty() || entry.regs.empty())
            continue;
        for (const std::string& regcode : entry.regs) {
            const auto [place, isNew] = tables.regcodeTable.try_emplace(regcode, title);
            if (isNew) {
                ++added;
            } else if (place->second != title) {
                offlineLines.push_back(fmt::format("   regcode {} for \"{}\", instead of the same for \"{}\"", regcode,
                                                   title, place->second));
                place->second = title;
                ++replaced;
            }
        }
        if (entry.special) {
            tables.specialTitles.push_back(title);
            specialLookup.insert(title);
            ++specials;
        }
    }
    std::string line = fmt::format("{} new regcode{} added", added, mark(added));
    if (replaced > 0)
        line += fmt::format(", {} regcode{} replaced", replaced, mark(replaced));
    if (specials > 0)
        line += fmt::format(", {} regcode{} defined as special", specials, mark(specials));
    offlineLines.push_back(std::move(line));
}

void applyRegcodeFiles() {
    std::vector<std::string> offlineLines;
    if (!fetchZipAsText("AIG-regcodes.zip", path::aigRegcodes)) {
        log("reading AIG-regcodes failed?");
    } else {
        const std::string name = platform::pathText(path::aigRegcodes);
        offlineLines.push_back("Processing file " + name);
        std::vector<RegcodeEntry> entries;
        if (!readRegcodeDocument(path::aigRegcodes, entries)) {
            offlineLines.push_back(
                fmt::format("There were errors in processing the AIG-regcode file \"{}\", see the Log.txt", name));
        }
        applyEntries(entries, offlineLines);
        std::error_code ignored;
        fs::remove(path::aigRegcodes, ignored);
    }
    if (hasMyRegcodes()) {
        const std::string name = platform::pathText(path::myRegcodes);
        offlineLines.push_back("Processing files in " + name);
        std::vector<RegcodeEntry> entries;
        const bool good = readMyRegcodes(entries);
        applyEntries(entries, offlineLines);
        if (!good) {
            offlineLines.push_back(fmt::format(
                "There were errors in processing the regcode files in folder \"{}\", see the Log.txt", name));
        }
    }
    const fs::path file = path::outputInfo / "OfflineRegcodes.txt";
    std::error_code ignored;
    fs::remove(file, ignored);
    if (offlineLines.empty())
        return;
    writeReport(file, offlineLines);
    log(fmt::format("Offline regcode files processed, results can be found in \"{}\"", platform::pathText(file)));
    if (!tables.specialTitles.empty())
        log(fmt::format("{} special liveries", tables.specialTitles.size()));
}

void buildByModel() {
    struct Flat {
        std::string_view model, title;
        bool cargo;
    };
    std::vector<Flat> flat;
    flat.reserve(std::max<std::size_t>(4048, storedLiveries));
    for (const auto& [airline, models] : tables.liveryStore) {
        for (const auto& [model, stored] : models) {
            for (const StoredLivery& livery : stored)
                flat.push_back({model, livery.title, livery.cargo});
        }
    }
    // By title too, so that the same liveries give the same lists whatever the hash tables' order.
    std::sort(flat.begin(), flat.end(),
              [](const Flat& a, const Flat& b) { return std::tie(a.model, a.title) < std::tie(b.model, b.title); });
    for (const Flat& livery : flat)
        tables.byModel[livery.cargo][std::string(livery.model)].push_back(livery.title);
    for (auto& kind : tables.byModel) {
        for (auto& [model, titles] : kind)
            titles.shrink_to_fit();
    }
}

void noteOpenTitles(const Titles& list) {
    if (std::none_of(list.begin(), list.end(), isSpecial))
        return;
    Titles& open = openLists[&list];
    std::copy_if(list.begin(), list.end(), std::back_inserter(open), [](auto title) { return !isSpecial(title); });
    open.shrink_to_fit();
}

/// A search must not walk a list of thousands of special titles for the few that are none.
void buildOpenLists() {
    for (const auto& kind : tables.byAirlineModel) {
        for (const auto& [airline, models] : kind) {
            for (const auto& [model, titles] : models)
                noteOpenTitles(titles);
        }
    }
    for (const auto& kind : tables.byModel) {
        for (const auto& [model, titles] : kind)
            noteOpenTitles(titles);
    }
}

void reportGenericLiveries() {
    std::vector<std::string> models;
    if (const auto* generic = find(tables.liveryStore, genericAirline)) {
        for (const auto& [model, stored] : *generic)
            models.push_back(model);
    }
    std::sort(models.begin(), models.end());
    if (models.empty()) {
        log("No generic liveries");
        return;
    }
    log(fmt::format("{} model{} have a generic livery", models.size(), mark(models.size())));
    logModelLists(models);
}

/// A kind of aircraft that the user can leave out.
struct OptionalKind {
    AircraftCategory category;
    BoolBox& box;
    const char* name; ///< in messages
};
OptionalKind optionalKinds[] = {{AircraftCategory::light, par::LIGHT_AIRCRAFT, "light aircraft"},
                                {AircraftCategory::highPerf, par::HIGH_PERF_AIRCRAFT, "High Perf aircraft"},
                                {AircraftCategory::rotorcraft, par::HELICOPTERS, "Helicopters"}};

/// Without liveries a kind cannot be shown, so its option says so until the user brings some.
void optionFollows(AircraftCategory category, bool installed) {
    for (OptionalKind& kind : optionalKinds) {
        if (kind.category != category)
            continue;
        if (!installed && kind.box) {
            change(kind.box, false);
            log(fmt::format("{} temporary switched off because you do not have {} installed", kind.box.name,
                            kind.name));
        }
        enableControl(kind.box, installed);
    }
}

void categoryStep(AircraftCategory category) {
    std::vector<std::string> models;
    std::array<std::size_t, 2> titles{};
    for (std::size_t kind = 0; kind < 2; ++kind) {
        for (const auto& [model, list] : tables.byModel[kind]) {
            if (categoryOf(model) != category)
                continue;
            titles[kind] += list.size();
            models.push_back(model);
        }
    }
    const bool installed = titles[0] + titles[1] > 0;
    if (!installed) {
        log(fmt::format("Category {}: No livery found", text(category)));
        optionFollows(category, false);
        return;
    }
    std::string line = fmt::format("Category {}: {} pax liverie{}", text(category), titles[0], mark(titles[0]));
    if (titles[1] > 0)
        line += fmt::format(" and {} cargo liverie{}", titles[1], mark(titles[1]));
    log(line);
    std::sort(models.begin(), models.end());
    models.erase(std::unique(models.begin(), models.end()), models.end());
    logModelLists(models);
    std::vector<std::string>* const list = category == AircraftCategory::light        ? &tables.lightModels
                                           : category == AircraftCategory::buzjets    ? &tables.buzjetModels
                                           : category == AircraftCategory::rotorcraft ? &tables.rotorModels
                                                                                      : nullptr;
    if (list)
        list->insert(list->end(), models.begin(), models.end());
    optionFollows(category, true);
}

} // namespace

const LiveryTables& liveryTables() {
    return tables;
}

void reserveLiveryTables() {
    if (roomReserved)
        return;
    roomReserved = true;
    tables.specialTitles.reserve(4096);
    tables.lightModels.reserve(64);
    tables.buzjetModels.reserve(128);
    tables.rotorModels.reserve(32);
}

void processScannedLiveries() {
    if (liveriesProcessed) {
        log("Processing scanned liveries skipped; already done in previous start-up");
        return;
    }
    const std::vector<Livery> scannedList = readLiveriesScanned();
    readouts.liveries = static_cast<std::int32_t>(scannedList.size());
    repaint();
    buildStore(scannedList);
    buildAirlineModel();
    applyInlineRegcodes(scannedList);
    applyRegcodeFiles();
    log(fmt::format("{} registration codes", tables.regcodeTable.size()));
    buildByModel();
    buildOpenLists();
    log(fmt::format("{} airlines, {} pax aircraft models and {} cargo aircraft models", tables.liveryStore.size(),
                    tables.byModel[0].size(), tables.byModel[1].size()));
    buildSimilarTables(tables);
    reportGenericLiveries();
    for (int category = 0; category < 6; ++category)
        categoryStep(static_cast<AircraftCategory>(category));
    liveriesProcessed = true;
}

void resetLiveries() {
    resetMatching();
    allTitles.clear();
    specialLookup.clear();
    openLists.clear();
    tables = {};
    storedLiveries = 0;
    liveriesProcessed = false;
    roomReserved = false;
}

std::size_t liveryCount() {
    return storedLiveries;
}

std::string_view findTitle(std::string_view title) {
    const auto found = allTitles.find(title);
    return found == allTitles.end() ? std::string_view() : *found;
}

bool hasLivery(std::string_view airline, std::string_view model) {
    const auto* models = find(tables.liveryStore, airline);
    return models && models->contains(model);
}

bool hasModel(std::string_view model) {
    return tables.byModel[0].contains(model) || tables.byModel[1].contains(model);
}

bool isSpecial(std::string_view title) {
    return !specialLookup.empty() && specialLookup.contains(title);
}

const Titles& openTitles(const Titles& list) {
    const auto found = openLists.find(&list);
    return found == openLists.end() ? list : found->second;
}

} // namespace kes
