#include "airports/airport_file.h"

namespace kes {

AirportFile parkAirportFile;
QualityPair qualityPair;
bool handmadeAirport = false;
bool saveParamChanged = false;
std::atomic<bool> airportLoaded{false};

namespace {

constexpr double unknownNm = 100.0;

} // namespace

void forgetAirportFile() {
    parkAirportFile = {};
    qualityPair = {};
    handmadeAirport = false;
    saveParamChanged = false;
    airportLoaded = false;
    stands.clear();
}

std::string gf_readApf(const std::string&, AirportFile&, QualityPair&, std::vector<Stand>&) {
    return "no airport file can be read yet";
}

bool writeAirportFile(const AirportFile&, const std::filesystem::path&, bool) {
    return false;
}

// No airport file is known yet, so no airport has stands.
double gf_readDestApfForClosestStand(std::string_view, LatLon, std::string& standId) {
    standId.clear();
    return unknownNm;
}

} // namespace kes
