// What the files of the life cycle share among themselves. Worker only; not for other folders.
#pragma once

#include "core/errors.h"
#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <concepts>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kes {

/// The title that the run remembers for a hexid, or an empty view.
std::string_view rememberedTitle(std::uint32_t hexid);
void rememberTitle(std::uint32_t hexid, std::string_view title);
void forgetTitle(std::uint32_t hexid);

/// Span, category and the category's motion values from `model`; draws the two random pitch spreads.
void applyModel(LiveAircraft& aircraft);
/// Another model than the record's brings its own category and values; an empty one changes nothing.
void takeModel(LiveAircraft& aircraft, const std::string& model);

/// Decides whether an aircraft in buffer enters the simulator now.
void spawnDecision(LiveAircraft& aircraft, const Motion& m);

/// The object of a creation that was given up may still come. Until it has, or until that is too long ago, nobody with
/// its hexid is asked for: the two objects could not be told apart.
void noteAbandoned(std::uint32_t hexid);
bool isAbandoned(std::uint32_t hexid);
/// True = the simulator's answer was to such a creation, which is forgotten now.
bool takeAbandoned(std::uint32_t hexid);

/// Clears the "object shown beside the callsign look-up" when it is this one.
void clearSelection(std::uint32_t objectid);

/// Erases one record by moving the last one into its place.
void eraseLive(LiveAircraft& aircraft);
/// Erases the records marked deleteNow or deleteQueued; the rest keep their order.
void compactLive();

/// The stream has run out. True = a sample was added, the leg can begin.
bool endOfStream(LiveAircraft& aircraft, const Motion& m);

/// Forgets the light sequences of all objects.
void clearLightSequences();

inline bool isGhost(std::string_view callsign) {
    return !callsign.empty() && callsign.back() == '_';
}

/// "{}: {} {}, sz:{}, fs:{}, st:{}": what an exception in one aircraft's update tells.
std::string aircraftTrouble(std::string_view routine, std::string_view what, const LiveAircraft& aircraft);
/// "{} {} fs:{}, st:{} stream at the end is empty?", and out of the simulator.
void reportEmptyStream(std::string_view routine, LiveAircraft& aircraft);

/// Rethrows what `step` throws with the routine's name and the aircraft's state in front. User errors pass as they are.
template <std::invocable Step> void named(std::string_view routine, const LiveAircraft& aircraft, Step step) {
    try {
        step();
    } catch (const nwk::UserErrorException&) {
        throw;
    } catch (const std::exception& e) {
        throw std::runtime_error(aircraftTrouble(routine, e.what(), aircraft));
    }
}

} // namespace kes
