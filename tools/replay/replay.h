// SPDX-License-Identifier: MIT
// A replay: the traffic of a recording or a scenario, drawn by the program and by the baselines, and judged.
#pragma once

#include "tools/replay/judge.h"
#include "tools/replay/map_page.h"
#include "tools/replay/overspeed.h"
#include "tools/replay/parking_judge.h"
#include "tools/replay/replay_options.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kes::replay {

/// Kestrelune, A, B, C.
inline constexpr std::size_t wayCount = 4;
inline constexpr std::array<std::string_view, wayCount> wayNames{"Kestrelune", "A straight", "B reported", "C Hermite"};

/// What the program made of an aircraft.
struct Flown {
    std::string model, category, title; ///< of the record; the title is that of the simulator's object
};

struct Result {
    std::string feed;
    bool truthKnown = false; ///< else the reference of the first two measures is the line between the reports
    std::array<std::unique_ptr<Board>, wayCount> boards;
    std::vector<std::string> names; ///< of the aircraft, by their place
    std::vector<Flown> flown;       ///< by their place, empty texts for those that never came in
    MapPage map;
    Overspeed overspeed;
    ParkingMeasures parking;
    std::int32_t ticks = 0;
    std::size_t lines = 0, mostAtOnce = 0, objects = 0;
    std::vector<std::string> faults; ///< of the internal checks, one of each kind
};

/// Runs the whole replay and writes motion.csv into the folder on the way. Throws std::runtime_error with a text for
/// the user. `progress` gets the part done, 0 to 1, now and then.
Result runReplay(const Options& options, const std::function<void(double)>& progress);

/// The same replay, for those who time it: the current folder is a program folder that has been filled.
Result replayInPlace(const Options& options, const std::function<void(double)>& progress);

} // namespace kes::replay
