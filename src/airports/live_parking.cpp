#include "airports/live_parking.h"

namespace kes {

LiveParkingHooks liveParkingHooks;

} // namespace kes
