// What the files of single airports tell: their stands. Worker only.
#pragma once

#include "core/geo.h"

#include <string>
#include <string_view>

namespace kes {

/// Distance from a position to the closest stand of an airport in nautical miles, and that stand's id; 100.0 and an
/// empty id when it cannot be told.
double gf_readDestApfForClosestStand(std::string_view code, LatLon position, std::string& standId);

} // namespace kes
