// SPDX-License-Identifier: MIT
#include "sim/from_simulator.h"

#include "core/log.h"
#include "core/text_encoding.h"

#include <chrono>
#include <cmath>
#include <cstring>

namespace kes {

LogLimiter simulatorLog("simulator");

std::string readable(std::string_view text) {
    // A message may hold a megabyte; a quote takes 400 bytes of it. The cut leaves no half of a character.
    if (constexpr std::size_t enough = longestQuote + 8; text.size() > enough) {
        text = text.substr(0, enough);
        for (int i = 0; i < 4 && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80; ++i)
            text.remove_suffix(1);
        if (static_cast<unsigned char>(text.back()) >= 0xC0)
            text.remove_suffix(1);
    }
    return kes::quoted(utf8OrLatin1(text));
}

void showFromSimulator(std::string_view text, bool alsoLog) {
    // A flood of one and the same is drawn once.
    if (statusText() != text)
        showStatus(text, false);
    if (alsoLog && errorText().empty())
        simulatorLog.writeUnlessClosing(text);
}

std::string_view textOf(const simconnect::RecvSimObjectData& message, std::size_t offset, std::size_t limit) {
    const std::size_t size = simconnect::dataSizeOf(message);
    if (offset >= size)
        return {};
    const char* begin = reinterpret_cast<const char*>(dataOf(message)) + offset;
    const std::size_t room = std::min(limit, size - offset);
    const void* zero = std::memchr(begin, 0, room);
    return {begin, zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - begin) : room};
}

bool isPlausible(const UserAircraft& user) {
    for (const double value :
         {user.lat, user.lon, user.pitch, user.bank, user.heading, user.alt, user.agl, user.groundSpeed})
        if (!std::isfinite(value))
            return false;
    return std::abs(user.lat) <= 90.0 && std::abs(user.lon) <= 360.0;
}

std::optional<std::int64_t> epochOf(std::int64_t year, std::int64_t dayOfYear, std::int64_t secondOfDay) {
    if (year < 1 || year > 9999 || dayOfYear < 1 || dayOfYear > 366 || secondOfDay < 0 || secondOfDay > 86400)
        return std::nullopt;
    using namespace std::chrono;
    const sys_days newYear(std::chrono::year(static_cast<int>(year)) / January / 1);
    return sys_seconds(newYear + days(dayOfYear - 1) + seconds(secondOfDay)).time_since_epoch().count();
}

bool ObjectIds::add(std::uint32_t id) {
    if (places.contains(id))
        return true;
    if (ids.size() < limit) {
        places.emplace(id, ids.size());
        ids.push_back(id);
        return true;
    }
    places.erase(ids[victim]);
    places.emplace(id, victim);
    ids[victim] = id;
    victim = (victim + 1) % limit;
    return false;
}

bool ObjectIds::erase(std::uint32_t id) {
    const auto at = places.find(id);
    if (at == places.end())
        return false;
    // The last one takes its place.
    ids[at->second] = ids.back();
    places[ids.back()] = at->second;
    ids.pop_back();
    places.erase(id);
    return true;
}

void ObjectIds::clear() {
    *this = {};
}

} // namespace kes
