// SPDX-License-Identifier: MIT
// Questions about airport files that the update server may have to answer. A server on the network takes as long as it
// likes, and the tick that asks moves every aircraft; so a thread of its own asks there, one question at a time, and
// the tick fetches the answer when it looks in again. A limit in the tick instead would have to be a few milliseconds
// to be no stutter, too short for any server. What a folder serves (the default) is read at once: that is quick, and
// keeps replays the same however fast they run. Worker only, but for what the thread itself calls.
#pragma once

#include "airports/airport_table.h"
#include "core/geo.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kes {

/// The airport at which an aircraft stands, and whether there is a file of it.
struct AirportHere {
    std::optional<AirportEntry> airport;
    bool hasFile = false;
};
/// `closestAirport` and `airportFileExists`. Nothing while the answer is on its way, after a wait of up to `waitMs`.
/// Throws what they throw.
std::optional<AirportHere> airportAt(LatLon position, int waitMs = 0);

/// The place of an airport's base file, ready to be loaded without a download.
struct AirportBase {
    std::string source;  ///< as `airportSource` tells it
    std::string problem; ///< why it cannot be loaded; empty = it can
};
/// Lets the thread ask ahead, if it is one to ask.
void askForBase(std::string_view code);
/// Nothing while it is on its way. Throws what `airportSource` throws.
std::optional<AirportBase> airportBase(std::string_view code);
/// The file of a base that was fetched ahead moves to `target`; false when it is not there, and has to be downloaded.
bool takeFetched(std::string_view source, const std::filesystem::path& target);

/// Drops all questions and answers. Waits for the thread, which gives up a download when the run is to end.
void endErrands();

} // namespace kes
