#include "airports/airport_file.h"

namespace kes {
namespace {

constexpr double unknownNm = 100.0;

} // namespace

// No airport file is known yet, so no airport has stands.
double gf_readDestApfForClosestStand(std::string_view, LatLon, std::string& standId) {
    standId.clear();
    return unknownNm;
}

} // namespace kes
