// SPDX-License-Identifier: MIT
// Where things have stood still on the ground and how long, out of samples of where they are: enough to tell afterwards
// what stood on which stand, without a record of every line. Used under its owner's lock.
#pragma once

#include "core/geo.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world {

struct Rest {
    std::string name, title; ///< callsign or tail number; of an object
    LatLon at;               ///< the last place
    double from = 0, to = 0; ///< seconds of the machine's monotonic clock, which all programs of a run share
    bool rolledIn = false;   ///< it was seen elsewhere on the ground before
};

class Rests {
public:
    static constexpr std::size_t limit = 100000; ///< rests that have ended; more are not kept

    /// Whoever stays within `circleMetres` rests; `leastSeconds` long, or it is not told.
    Rests(double circleMetres, double leastSeconds) : circle_(circleMetres / metresPerNm), least_(leastSeconds) {}

    /// Where somebody is at a time, as in `Rest`; times of one key must not run backwards. Leaving the circle or the
    /// ground ends a rest.
    void note(std::uint32_t key, std::string_view name, std::string_view title, LatLon at, bool airborne,
              double seconds) {
        const auto [open, isNew] = open_.try_emplace(key);
        Open& o = open->second;
        if (airborne || (o.onGround && distanceNm(o.first, at) > circle_)) {
            end(o);
            o.rolled = !airborne;
        }
        if (airborne)
            return;
        if (!o.onGround) {
            o.onGround = true;
            o.first = at;
            o.rest = {std::string(name), std::string(title), at, seconds, seconds, o.rolled};
        }
        o.rest.at = at;
        o.rest.to = seconds;
    }
    /// All there have been, those that still go on included.
    std::vector<Rest> all() const {
        std::vector<Rest> list = ended_;
        for (const auto& [key, o] : open_)
            if (o.onGround && isOne(o.rest))
                list.push_back(o.rest);
        return list;
    }

private:
    struct Open {
        Rest rest;
        LatLon first;
        bool onGround = false, rolled = false;
    };
    bool isOne(const Rest& rest) const { return rest.to - rest.from >= least_; }
    void end(Open& o) {
        if (o.onGround && isOne(o.rest) && ended_.size() < limit)
            ended_.push_back(std::move(o.rest));
        o.onGround = false;
    }
    double circle_, least_;
    std::map<std::uint32_t, Open> open_;
    std::vector<Rest> ended_;
};

} // namespace kes::world
