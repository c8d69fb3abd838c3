// SPDX-License-Identifier: MIT
// The stands of the park airport in sight and what is known of their use. Worker only.
#pragma once

#include "core/geo.h"
#include "core/hh_now.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kes {

/// One use of a stand: who stands there on this day of the week in these half-hours.
struct ParkPosOption {
    std::string airline{};        ///< airline code
    std::string model{};          ///< aircraft type code
    std::string regcode{};        ///< registration, may be empty
    std::string coupledCs1{};     ///< callsign of the arrival, may be empty
    std::string coupledCs2{};     ///< callsign of the departure that follows it, may be empty
    std::uint64_t hours = 0;      ///< bits 0 to 47: half-hours of the day in UTC, bit 0 is 00:00 to 00:30
    std::int32_t optIndex = 0;    ///< running number within the stand, from 1; 0 = out of use until the next renewal
    std::uint32_t day = 0;        ///< 1 = Monday to 7 = Sunday; 0 = none
    std::int32_t fromArchive = 0; ///< 1 = came with the base list, so it is not written to a learned file
    std::int32_t real = 0;        ///< 1 = seen to be so, 0 = soft: taken to be so
};

/// When a use was last noted, and in which option.
struct SeenEntry {
    HhNow time;
    std::int32_t optIndex = 0;
};

struct Stand {
    std::vector<ParkPosOption> options{};
    std::unordered_map<std::uint32_t, SeenEntry> realSeen{}, softSeen{}; ///< by hexid; of this visit, never saved
    std::string id{};                                                    ///< unique within the list
    std::vector<std::uint32_t> adjacent{}; ///< sids, ascending, of those too near to be used together
    double lat = 0, lon = 0;               ///< degrees
    double heading = 0;                    ///< radians, of the nose
    double radius = 0;                     ///< nautical miles; metres in files
    std::uint32_t sid = 0;                 ///< 1 to n in the order of the list; 0 means "no stand" everywhere
    bool manual = false;                   ///< made by hand, so the learned file alone has it
    bool radiusChange = false;             ///< the learned file corrects the radius
    bool cargoChange = false;              ///< the learned file corrects `cargo`
    bool idDoubled = false;                ///< while scenery is read: another stand had the same id
    bool occupied = false;                 ///< a static aircraft is planned for it, or stays
    bool liveOnIt = false;                 ///< a live aircraft has taken it
    bool reserved = false;                 ///< kept for the user
    bool neighbourTaken = false;           ///< one of `adjacent` is occupied
    bool cargo = false, ramp = false, heli = false;
    LatLon position() const { return {lat, lon}; }
};

extern std::vector<Stand> stands;
/// Null when there is none.
Stand* findStand(std::uint32_t sid);
/// The name of a stand for messages; "unknown" for an unknown one, "sid==0?" for none.
std::string standName(std::uint32_t sid);
/// A live aircraft no longer has the stand; nothing for 0 or an unknown one.
void releaseStand(std::uint32_t sid);

/// Numbers the list from 1.
void giveSids(std::vector<Stand>& list);
/// Fills `adjacent` of each stand with the sids of all others that it and its neighbour's circles leave no room for:
/// the sum of both radii is more than 1.1 times their distance. `sid`s must be given.
void findAdjacent(std::vector<Stand>& list);

/// Real and soft quality of a list, 0 to 100; -1 = no value.
struct QualityPair {
    std::int32_t real = -1, soft = -1;
    friend bool operator==(QualityPair, QualityPair) = default;
};
/// How much is known of the use of the stands; (-1, -1) when no stand has an option. Each stand weighs the same.
QualityPair qualityOf(const std::vector<Stand>& list);
/// The same of `stands`.
QualityPair gf_qualityFactor();
/// "  " without numbers, "{:2}/{:2}" real and soft, from real 45 on "{:2}" the real one alone.
std::string qualityText(QualityPair quality);

/// The half-hours of a comma list as bits. An entry that does not begin with a number in 0..47 is skipped and logged.
std::uint64_t gf_hours2bitset(std::string_view list);
/// The other way, ascending and without blanks.
std::string hoursText(std::uint64_t hours);

} // namespace kes
