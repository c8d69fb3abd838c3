// When a live aircraft enters the simulator, what drives it each tick, when it leaves. Worker only.
#pragma once

#include "sim/ai_commands.h"
#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kes {

extern std::deque<std::uint32_t> landingList; ///< hexids that may make a static aircraft leave, one per second

/// Keys without livery, in order of finding. The oldest makes room when there are too many.
class NoMatchList {
public:
    static constexpr std::size_t limit = 1000;
    void add(std::string key); ///< once each
    bool contains(std::string_view key) const { return index_.contains(key); }
    void clear();
    const std::deque<std::string>& keys() const { return keys_; }

private:
    std::deque<std::string> keys_; // never moves its elements, so the index can point at them
    std::unordered_set<std::string_view> index_;
};
extern NoMatchList noMatchList;

/// Handles all waiting replies of the simulator, then advances the light sequences by one tick.
void applySimReplies();
/// `updateLiveAc` for each record front to back; drops the marked ones. An exception costs one aircraft its tick.
void updateLiveAircraft();
bool updateLiveAc(LiveAircraft& aircraft, const Motion& m);
void spawnLiveAc(LiveAircraft& aircraft, const Motion& m);
void removeAircraftFromSim(LiveAircraft& aircraft);
void removeAircraftFromSim(AiAircraft& parked);
void liveryRespawn(LiveAircraft& aircraft);
bool checkIdentity(LiveAircraft& aircraft, const AircraftReport& report);
void nextPosMain(LiveAircraft& aircraft, const Motion& m);
/// Makes the create request of the next birth.
void spawnNext();
/// The simulator has been asked for the object of this aircraft.
void noteAsked(std::uint32_t hexid, std::int32_t tick);
/// The traffic source has gone: live aircraft leave the simulator, waiting ones are dropped.
void removeAllLiveForLostSource();
/// The list of keys without livery into the log, when LOG is on.
void writeNoMatchReport();
/// The run's table of hexids and titles.
void clearTitleTable();
/// Everything of live traffic back to its start values.
void resetLiveTraffic();

/// What burns; sent in the order of the fields.
struct Lights {
    bool nav = true, beacon = true, landing = false, taxi = false, strobes = false, logo = false, cabin = false;
};
void sendLights(std::uint32_t objectid, const Lights& lights, const Motion& m);
void setCabin(const LiveAircraft& aircraft, bool lit, const Motion& m);

/// A level is sent only when it differs from the last one sent; 0 to 4 and 0 to 3. A Rotorcraft gets no flaps, gear or
/// spoilers, and throttle 4 for 0.
void setThrottleLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setFlapsLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setGear(LiveAircraft& aircraft, bool down, const Motion& m);
void setSpoilers(LiveAircraft& aircraft, std::uint32_t value, const Motion& m);
inline constexpr std::uint32_t spoilersOut = 16383;
/// `level`, or 4 for a Rotorcraft.
void setEngineLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
/// Spoilers and throttles of the object itself, in percent; nothing for Light and Rotorcraft.
void setRollOutControls(const LiveAircraft& aircraft, double spoilers, double throttle, const Motion& m);

} // namespace kes
