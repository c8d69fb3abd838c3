// SPDX-License-Identifier: MIT
#include "traffic/motion.h"

#include "airports/airport_ref.h"
#include "core/run_state.h"
#include "feed/qnh_reader.h"
#include "traffic/live_table.h"

namespace kes {

namespace {

Outbox outbox;

} // namespace

Motion motionNow() {
    Motion m{{tickCount, static_cast<double>(currentQnh), std::nullopt}, outbox};
    if (airportRef)
        m.in.airport = MotionAirport{airportRef->position(), airportRef->elevation};
    return m;
}

void flushOutbox() {
    for (const ControlData& c : outbox.controls)
        setControlData(c.objectid, c.spoilers, c.throttle, c.throttle);
    queueEvents(outbox.events);
    for (const std::uint32_t hexid : outbox.landings) {
        if (findLive(hexid) != nullptr) // an entry without a record would hold up the list
            landingList.push_back(hexid);
    }
    clearOutbox();
}

void clearOutbox() {
    outbox.events.clear();
    outbox.controls.clear();
    outbox.landings.clear();
}

} // namespace kes
