// SPDX-License-Identifier: MIT
// What a watcher of the simulator has been told, and what is new since: the messages behind the live page.
#pragma once

#include "world/simulator/model.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kes::world {

/// One watcher. Not shared between threads.
class LiveState {
public:
    /// What has changed since the last call; the first call tells all. Members, each left out when empty:
    ///  t     model time, milliseconds
    ///  new   objects: {id, title, tail, model}
    ///  gone  ids
    ///  move  [id, lat, lon (degrees), altitude above sea level, height above ground (feet), heading (degrees), speed
    ///        (knots, negative = backwards), vertical speed (feet per minute), lights (the bits of object.h)] of each
    ///        object that is new or has moved; the user's aircraft is object 1
    /// Under the lock of the simulator.
    nlohmann::json update(const Simulator& simulator);

private:
    struct Told {
        double lat = 0, lon = 0, alt = 0, heading = 0, speed = 0;
        std::uint32_t lights = 0;
        std::uint64_t round = 0; ///< of the last update that had it
    };
    void tell(const Simulator& simulator, const SimObject& object, nlohmann::json& message);

    std::unordered_map<std::uint32_t, Told> told_;
    std::uint64_t round_ = 0;
};

/// Which livery an aircraft got, and by which step of the search, as the program's log tells it while LOG is on:
/// "IBE97QA  EC-MQS  MAD->MUC IBE A320 =2= KAI A320 Iberia".
struct LiveryReason {
    std::string label, title; ///< label: what stands in front of the step, blanks folded
    int step = 0;             ///< 1 to 6
};
/// Nothing (step 0) for any other line. Pure.
LiveryReason liveryReason(std::string_view logLine);

} // namespace kes::world
