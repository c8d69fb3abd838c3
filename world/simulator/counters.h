// SPDX-License-Identifier: MIT
// What a run counted, for the report. Written under the lock that guards the simulator.
#pragma once

#include "world/rests.h"
#include "world/speed_slices.h"

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>

namespace kes::world {

struct Counters {
    std::uint64_t objectsCreated = 0;
    std::uint64_t objectsRemoved = 0; ///< by whatever cause
    std::uint64_t leftBehind = 0;     ///< of those: still there when their client's stream ended
    std::uint64_t peakObjects = 0;
    std::uint64_t positionRecords = 0; ///< position data for AI objects
    std::uint64_t refusedCreates = 0;  ///< creates answered with an exception
    std::uint64_t packetsReceived = 0;
    std::uint64_t clients = 0;        ///< that sent a good OPEN
    std::uint64_t overflows = 0;      ///< clients cut off because they did not read
    std::uint64_t refusedClients = 0; ///< beyond the most that are served at once
    std::uint64_t frames = 0;
    /// Longest time between two records of one object of which the later moved it. Breaks that the simulator itself
    /// made (stalled frames, "Sim" 0, a new flight) do not count.
    std::int64_t largestGapNs = 0;
    std::string largestGapTail;                               ///< tail number of that object
    std::map<std::uint32_t, std::uint64_t> exceptions;        ///< by number
    std::map<std::string, std::uint64_t, std::less<>> events; ///< client events that reached an object, by name
    /// Speeds over the ground that clients gave to AI objects, taken over two seconds each, by tail number. Of a
    /// simulator that serves other programs only.
    SpeedSlices speeds;
    /// Where AI objects stood, looked at each second, by object. Of a simulator that serves other programs only.
    Rests rests{0.5, 2.0};
    struct Seen {
        double lat = 0, lon = 0; ///< degrees
        std::int64_t ns = 0, lastNs = 0;
    };
    std::unordered_map<std::uint32_t, Seen> seen; ///< by object; looked up only
};

} // namespace kes::world
