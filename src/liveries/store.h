// SPDX-License-Identifier: MIT
// The installed liveries. Built on the worker before the main loop, read-only afterwards; the store owns the title
// texts for the life of the process and all else holds views of them.
#pragma once

#include "reference/text_map.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct StoredLivery {
    std::string title;
    bool cargo = false;
};
using Titles = std::vector<std::string_view>;

struct LiveryTables {
    TextMap<TextMap<std::vector<StoredLivery>>> liveryStore;     ///< airline, model
    std::array<TextMap<TextMap<Titles>>, 2> byAirlineModel;      ///< 0 passenger, 1 cargo; airline, model
    std::array<TextMap<Titles>, 2> byModel;                      ///< 0 passenger, 1 cargo; model
    TextMap<std::string_view> regcodeTable;                      ///< registration to title
    Titles specialTitles;                                        ///< titles that only their own regcode may get
    TextMap<std::vector<std::string>> similarInstalled;          ///< model to similar models that are installed
    TextMap<TextMap<std::vector<std::string>>> similarByAirline; ///< airline, model to similar models of that airline
    std::vector<std::string> lightModels, buzjetModels, rotorModels; ///< installed models, sorted
};
/// Empty before `processScannedLiveries`; what is in them is valid until `resetLiveries`.
const LiveryTables& liveryTables();

/// Room for the tables; the first call of the process counts. Called at the start of each run.
void reserveLiveryTables();
/// Builds the tables from "output/LiveriesScanned.xml", once per process. Throws nwk::UserErrorException 51, 52, 533,
/// or 99 for foreign meta data.
void processScannedLiveries();
/// Forgets everything, refusals and counters included, so that the next run reads the tables anew: after a change of
/// the simulator or for a new scan. Views of titles that are still held die; only between two runs.
void resetLiveries();
std::size_t liveryCount(); ///< of the file that the tables were built from

/// The stored view of a title, or an empty view.
std::string_view findTitle(std::string_view title);
bool hasLivery(std::string_view airline, std::string_view model); ///< passenger or cargo
bool hasModel(std::string_view model);                            ///< under any airline, passenger or cargo
bool isSpecial(std::string_view title);                           ///< only its own registration may get it
/// The titles of a list of `byAirlineModel` or `byModel` that are not special, in its order.
const Titles& openTitles(const Titles& list);

} // namespace kes
