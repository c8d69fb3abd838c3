// SPDX-License-Identifier: MIT
// How a report of the feed enters the table of live aircraft: each report is offered to the records, one that nobody
// claims may become a new record, and what the feed tells too densely or contradicts itself is left out. Worker only.
#pragma once

#include "feed/aircraft_report.h"

namespace kes {

/// Takes at most two reports from `reportQueue`, and tells it once a second which aircraft are known.
void takeReports();
/// Offers a report to each record; one that nobody claims may become a new record.
void findOrCreate(AircraftReport& report);

} // namespace kes
