// SPDX-License-Identifier: MIT
#include "airports/live_parking.h"

namespace kes {

LiveParkingHooks liveParkingHooks;

} // namespace kes
