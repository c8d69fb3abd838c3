// The installed liveries. Built on the worker before the main loop, read-only afterwards; the store owns the title
// texts for the life of the process and records hold views of them.
#pragma once

#include "core/ai_aircraft.h"

#include <string>
#include <string_view>

namespace kes {

/// Scans the Community folder when SCAN_LIVERIES is on, writes "output/LiveriesScanned.xml", and builds the tables from
/// that file in every case. Throws nwk::UserErrorException (51, 52) when there is nothing to read.
void scanLiveries();
/// Builds the tables from "output/LiveriesScanned.xml". Same errors.
void processScannedLiveries();
/// Room for the tables; called at the start of each run.
void reserveLiveryTables();
/// Forgets everything, refusals included; views of titles that are still held die. For tests.
void resetLiveries();
std::size_t liveryCount();
/// The stored view of a title, or an empty view.
std::string_view findTitle(std::string_view title);

/// Fills `title` of a record, or leaves it empty: the first title with its airline and model, else its model.
void matchLive(AiAircraft& record);
/// The title that an installed livery has for a registration or one of its variants; empty when there is none.
std::string_view searchRegcode(std::string_view regcode);

/// Titles that the simulator refused; never cleared while the process lives.
void refuseTitle(std::string_view title, std::string_view model, std::string_view airline);
std::size_t refusedTitleCount();
bool isRefused(std::string_view title);
void writeMatchingSummary();

} // namespace kes
