// The stand list of the park airport: where its stands are, and who used them on which days at which half-hours. One
// list is known at a time; `airports/airport_file.h` reads it, learning adds to it. Worker only.
#pragma once

#include "core/geo.h"
#include "core/hh_now.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kes {

/// One known use of a stand: who stands there, on which day of the week, at which half-hours.
struct ParkPosOption {
    std::string airline{};
    std::string model{};
    std::string regcode{};        ///< may be empty
    std::string coupledCs1{};     ///< callsign of the arrival, may be empty
    std::string coupledCs2{};     ///< callsign of the departure that belongs to it, may be empty
    std::uint64_t hours = 0;      ///< half-hours of the day in UTC; bit 0 is 00:00 to 00:30, bit 47 the last
    std::int32_t optIndex = 0;    ///< number within the stand, from 1; 0 = out of use until the next renewal
    std::uint32_t day = 0;        ///< 1 = Monday to 7 = Sunday, 0 = none
    std::int32_t fromArchive = 0; ///< 1 = came with the base list, so it is not written to a learned file
    std::int32_t real = 0;        ///< 1 = seen, 0 = a guess
};

/// When a use was last noted for an aircraft, and in which option.
struct SeenUse {
    HhNow time;
    std::int32_t optIndex = 0;
};

struct Stand {
    std::vector<ParkPosOption> options{};
    std::unordered_map<std::uint32_t, SeenUse> realSeen{}; ///< by hexid
    std::unordered_map<std::uint32_t, SeenUse> softSeen{}; ///< by hexid
    std::string id{};
    std::vector<std::uint32_t> adjacent{}; ///< sids of stands too close to be used together
    double lat = 0, lon = 0;               ///< degrees
    double heading = 0;                    ///< radians, of the nose
    double radius = 0;                     ///< nautical miles; metres in a file
    std::uint32_t sid = 0;                 ///< 1 to n in the order of the list; 0 means "no stand" everywhere
    bool manual = false;                   ///< made by hand, known to the learned file alone
    bool radiusChange = false;             ///< the learned file corrects the radius
    bool cargoChange = false;              ///< the learned file corrects the cargo flag
    bool idDoubled = false;                ///< while a scenery file is read: another stand has this id
    bool occupied = false;                 ///< planned for a static aircraft, or a live one stays there
    bool liveOnIt = false;                 ///< a live aircraft has taken it
    bool reserved = false;                 ///< kept for the user
    bool neighbourTaken = false;           ///< an adjacent stand is occupied
    bool cargo = false;
    bool ramp = false; ///< ramp rather than gate
    bool heli = false; ///< a helipad

    LatLon position() const { return {lat, lon}; }
};

extern std::vector<Stand> stands;
/// Null when there is none. Stands are numbered in their order, so this is no search.
Stand* findStand(std::uint32_t sid);
/// The name of a stand for messages; "unknown" for an unknown one, "sid==0?" for none.
std::string standName(std::uint32_t sid);

} // namespace kes
