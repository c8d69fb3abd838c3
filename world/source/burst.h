// SPDX-License-Identifier: MIT
// Many feeds ask for all aircraft every few seconds and hand on what they got at once: a cycle of lines goes out within
// milliseconds, then nothing comes until the next. One thread.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kes::source {

inline constexpr double burstCycle = 5.0;   ///< seconds
inline constexpr double burstLength = 0.02; ///< seconds within which the lines of a cycle go out

/// Kind and address of a traffic line, "RTTFC,4000001"; empty for any other line.
inline std::string_view addressOf(std::string_view line) {
    const std::size_t kind = line.find(',');
    const std::size_t end = kind == std::string_view::npos ? kind : line.find(',', kind + 1);
    return end == std::string_view::npos ? std::string_view() : line.substr(0, end);
}

/// Turns a feed in order of time into bursts.
template <typename Item> class Bursts {
public:
    struct Burst {
        double at = 0; ///< seconds; the end of the cycle
        std::vector<Item> items;
    };
    /// The next cycle with anything in it; no items when the feed has ended. `next()` gives the items one by one and
    /// nothing at the end, `timeOf` their seconds. Of items with one key, unless it is empty, the newest is kept.
    template <typename Next, typename TimeOf, typename KeyOf> Burst gather(Next next, TimeOf timeOf, KeyOf keyOf) {
        Burst burst;
        std::unordered_map<std::string, std::size_t> places;
        if (!ahead_)
            ahead_ = next();
        if (ahead_)
            burst.at = (std::floor(timeOf(*ahead_) / burstCycle) + 1.0) * burstCycle;
        for (; ahead_ && timeOf(*ahead_) < burst.at; ahead_ = next()) {
            const std::string key = keyOf(*ahead_);
            const auto [place, isNew] = places.try_emplace(key, burst.items.size());
            if (isNew || key.empty())
                burst.items.push_back(std::move(*ahead_));
            else
                burst.items[place->second] = std::move(*ahead_);
        }
        return burst;
    }

private:
    std::optional<Item> ahead_; ///< belongs to the next cycle
};

} // namespace kes::source
