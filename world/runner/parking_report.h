// SPDX-License-Identifier: MIT
// What stood on the stands of a run, out of the rests that source and simulator have noted: whether arrivals came to
// the stand they went to in reality, and whether anything stood where something else did. Of the program's own tables
// nothing is asked. Pure but for reading files.
#pragma once

#include "airports/stands.h"

#include <filesystem>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace kes::runner {

/// The stands of an airport file; none when it is not there or cannot be read.
std::vector<Stand> readStandFile(const std::filesystem::path& file);
/// Half spans in nautical miles by type, from a table with the columns code and span_m.
std::map<std::string, double, std::less<>> readHalfSpans(const std::filesystem::path& table);

/// The counts of a run, out of the "rests" of both reports; null without stands or rests of the simulator.
///  stands, peakStatic, peakParkedLive: a static aircraft is known by the '*' at the end of its tail number; a live one
///   is parked while it rests within 3 m of a stand.
///  arrivalsSeen: aircraft that rolled to a place within 20 m of exactly one stand, stood there for half a minute
///   beginning a minute and a half before the end or earlier, and were shown.
///  arrivalsParked, parkedOnWrongStand: of them those that the simulator had on a stand, and on another one.
///  twoOnOneStand: pairs that rested within 3 m of one stand at the same time.
///  staticInsideAnother: pairs of a static aircraft and another, static or on a stand, that overlapped at the same time
///   (circles of their half spans, with what the stands themselves leave short where they are no neighbours).
/// Two things happen at the same time when it is for two seconds. The last two counts must be 0; `clashes` names them.
nlohmann::json parkingReport(const nlohmann::json& source, const nlohmann::json& simulator,
                             const std::vector<Stand>& stands,
                             const std::map<std::string, double, std::less<>>& halfSpans);

} // namespace kes::runner
