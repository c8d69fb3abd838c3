// SPDX-License-Identifier: MIT
#include "world/view/live_state.h"

#include "core/geo.h"
#include "core/text.h"
#include "core/text_encoding.h"

#include <cmath>

namespace kes::world {

namespace {

/// Enough for a picture; a number with all its digits would be three times as long.
double rounded(double value, double unit) {
    return std::round(value / unit) * unit;
}

} // namespace

void LiveState::tell(const Simulator& simulator, const SimObject& object, nlohmann::json& message) {
    const auto [entry, isNew] = told_.try_emplace(object.id);
    Told& told = entry->second;
    told.round = round_;
    if (isNew)
        message["new"].push_back({{"id", object.id},
                                  {"title", utf8OrLatin1(object.title)},
                                  {"tail", utf8OrLatin1(object.tail)},
                                  {"model", utf8OrLatin1(object.model)}});
    else if (told.lat == object.lat && told.lon == object.lon && told.alt == object.alt &&
             told.heading == object.heading && told.speed == object.tas && told.lights == object.lights)
        return;
    told = {object.lat, object.lon, object.alt, object.heading, object.tas, object.lights, round_};
    message["move"].push_back({object.id, rounded(object.lat, 1e-7), rounded(object.lon, 1e-7),
                               rounded(object.alt, 1.0), rounded(object.alt - groundBelow(simulator, object), 1.0),
                               rounded(object.heading * radToDeg, 0.1), rounded(object.tas, 0.1),
                               rounded(object.vs * 60.0, 1.0), object.lights});
}

nlohmann::json LiveState::update(const Simulator& simulator) {
    nlohmann::json message = nlohmann::json::object();
    ++round_;
    message["t"] = simulator.timeNs / 1000000;
    tell(simulator, simulator.user, message);
    for (const SimObject& object : simulator.objects) {
        if (!object.leaving)
            tell(simulator, object, message);
    }
    for (auto entry = told_.begin(); entry != told_.end();) {
        if (entry->second.round == round_) {
            ++entry;
            continue;
        }
        message["gone"].push_back(entry->first);
        entry = told_.erase(entry);
    }
    return message;
}

LiveryReason liveryReason(std::string_view logLine) {
    LiveryReason reason;
    for (std::size_t at = logLine.find('='); at != std::string_view::npos; at = logLine.find('=', at + 1)) {
        if (at == 0 || logLine[at - 1] != ' ' || at + 3 >= logLine.size() || logLine[at + 1] < '1' ||
            logLine[at + 1] > '6' || logLine[at + 2] != '=' || logLine[at + 3] != ' ')
            continue;
        reason.step = logLine[at + 1] - '0';
        reason.title = logLine.substr(at + 4);
        for (const std::string_view word : split(logLine.substr(0, at), ' ')) {
            if (!word.empty())
                reason.label += (reason.label.empty() ? "" : " ") + std::string(word);
        }
        break;
    }
    return reason;
}

} // namespace kes::world
