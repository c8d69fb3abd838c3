// SPDX-License-Identifier: MIT
// The highest speed that each flight was reported with, or was shown with, by slices of time: enough to tell afterwards
// whether it moved faster than it was reported, without a record of every line. Used under its owner's lock.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace kes::world {

class SpeedSlices {
public:
    static constexpr std::int64_t sliceSeconds = 10;
    static constexpr std::size_t limit = 500000; ///< slices of all flights; more are not noted

    /// `seconds` of the machine's monotonic clock, which all programs of a run share.
    void note(std::string_view callsign, double seconds, double knots) {
        if (count_ >= limit)
            return;
        auto flight = flights_.find(callsign);
        if (flight == flights_.end())
            flight = flights_.emplace(callsign, Slices()).first;
        const auto slice = static_cast<std::int64_t>(seconds) / sliceSeconds;
        const auto [at, isNew] = flight->second.try_emplace(std::to_string(slice), knots);
        at->second = std::max(at->second, knots);
        count_ += isNew ? 1 : 0;
    }
    /// Callsign to number of the slice, as text, to knots: as it stands in a report.
    using Slices = std::map<std::string, double, std::less<>>;
    const std::map<std::string, Slices, std::less<>>& flights() const { return flights_; }

private:
    std::map<std::string, Slices, std::less<>> flights_;
    std::size_t count_ = 0;
};

} // namespace kes::world
