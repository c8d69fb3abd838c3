// SPDX-License-Identifier: MIT
// What every reader of the simulator's messages needs: whoever answers on the simulator's port decides how many come
// and what stands in them. All on the SimClient thread.
#pragma once

#include "core/foreign_log.h"
#include "core/user_aircraft.h"
#include "simconnect/simconnect.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kes {

/// For every line whose number or text the simulator decides.
extern LogLimiter simulatorLog;

/// A text of the simulator for log lines and read-outs: UTF-8, or else read as ISO 8859-1, and quoted.
std::string readable(std::string_view text);
/// A text field of an object data message: up to its first zero, at most `limit` bytes, at most to the end of the
/// packet. A view into the message.
std::string_view textOf(const simconnect::RecvSimObjectData& message, std::size_t offset, std::size_t limit);
/// Shows a text that a message of the simulator brought about, and logs it through `simulatorLog`.
void showFromSimulator(std::string_view text, bool alsoLog);

/// True when all numbers of a position block are finite and latitude and longitude are on the globe.
bool isPlausible(const UserAircraft& user);
/// Seconds since 1970 of a Gregorian year (1 to 9999), its day (1 to 366) and the second of that day (0 to 86400);
/// nothing for a clock outside these.
std::optional<std::int64_t> epochOf(std::int64_t year, std::int64_t dayOfYear, std::int64_t secondOfDay);

/// Object ids without order, each once. A simulator has 1000 objects, so the limit is met by nonsense only.
struct ObjectIds {
    static constexpr std::size_t limit = 4096;

    std::vector<std::uint32_t> ids;
    std::unordered_map<std::uint32_t, std::size_t> places; ///< in `ids`
    std::size_t victim = 0;                                ///< place of the next one that has to go

    /// False when the set was full: another one, in turn, has gone for it.
    bool add(std::uint32_t id);
    bool erase(std::uint32_t id); ///< false when it was not there
    void clear();                 ///< gives its room back
};

} // namespace kes
