#include "airports/park_airports.h"

#include "airports/airport_table.h"
#include "core/log.h"
#include "core/parameters.h"

namespace kes {
namespace {

constexpr double noCandidateNm = 10000.0;
constexpr double atAirportNm = 5.0;

} // namespace

bool readMyParkAirports() {
    return true;
}

bool reReadParkAirports(bool, std::string& message) {
    message = "park airports and stands are okay";
    return true;
}

double nearestCandidateNm(LatLon user) {
    const auto nearest = nearestAirport(user, noCandidateNm);
    return nearest ? distanceNm(user, {nearest->lat, nearest->lon}) : noCandidateNm;
}

std::string reservedStand;

std::string standOfUser() {
    return {};
}

bool userStandReserved() {
    return false;
}
void learnUserStand(const UserAircraft&) {}

std::string standNameAt(double lat, double lon) {
    const auto nearest = nearestAirport({lat, lon}, atAirportNm);
    return nearest ? nearest->code : std::string();
}

void scanAddonAirports() {
    if (par::SCAN_AIRPORTS) {
        log("Add-on airports are not scanned by this version");
    }
}

} // namespace kes
