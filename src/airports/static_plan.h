// SPDX-License-Identifier: MIT
// Which static aircraft are to stand where: the lists of one calculation, how many are wanted, and the passes that fill
// the stands. Worker only.
#pragma once

#include "airports/stands.h"
#include "core/hh_now.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// One planned aircraft.
struct StaticPlacement {
    std::uint32_t sid = 0; ///< the stand
    std::int32_t fit = 0;  ///< how many half-hours before now the option lay
    std::string airline{}, model{};
    std::string coupledCs1{}, coupledCs2{};
    std::string regcode{};
    bool firstLeg = true; ///< still on its arrival callsign; false: it takes the departure callsign
};

/// A live aircraft that is parked and may stay.
struct LiveStayer {
    std::string callsign;
    std::uint32_t sid = 0;
    std::int64_t minutes = 0; ///< it has stood; 0 while the feed still reports it there
    std::uint32_t hexid = 0;
    std::string label; ///< for messages
};

/// A static aircraft that may stay.
struct ParkedStayer {
    std::string callsign, coupledCs1, coupledCs2, regcode, airline, model;
    HhNow parkedAt;
    std::uint32_t sid = 0;
    bool turnover = false; ///< its departure is next: it comes back under the other callsign
};

/// A static aircraft that is to go.
struct ParkedToRemove {
    std::string callsign;
    std::uint32_t sid = 0;
};

/// Those still to be created; sorted by `fit` descending and taken from the back, so that the best fits come first.
extern std::vector<StaticPlacement> toPark;
extern std::vector<LiveStayer> liveStayers;     ///< by minutes
extern std::vector<ParkedStayer> parkedStayers; ///< the oldest first
extern std::vector<ParkedToRemove> toRemove;
extern std::set<std::string> liveCallsigns; ///< that the feed has reported lately
extern std::int32_t wantedParked;           ///< number wanted
/// The greatest `fit` reached in the last real and soft pass; `softFit` -1 when there was none.
extern std::int32_t realFit, softFit;

/// Of the two parameters the one that holds, 0 to 100.
std::int32_t parkingPercentage();
/// How many of `standCount` stands are to be taken, by the parameters. `percent` is what the window shows of it.
std::int32_t wantedNumber(std::size_t standCount, std::int32_t& percent);
/// Sets `wantedParked` for `stands` and shows it.
void setWanted();

/// Empties the lists of a calculation and clears the marks of all stands.
void clearPlan();
/// Fills `toPark` until that and the `have` others reach `wantedParked`: real options, then, when allowed and needed,
/// soft ones.
void runPasses(std::int32_t have);

void sortByFit(bool descending); ///< `toPark`; equal ones keep their order
/// A live aircraft has parked there: the plans for the stand go.
void dropPlacement(std::uint32_t sid);
/// MAX_FIT in hours, for messages and its box.
double maxFitHours();
/// All of it back to nothing.
void resetPlan();

} // namespace kes
