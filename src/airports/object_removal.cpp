// SPDX-License-Identifier: MIT
#include "airports/object_removal.h"

#include "airports/stands.h"
#include "core/log.h"
#include "core/window.h"
#include "sim/orders.h"

#include <fmt/format.h>

namespace kes {

void clearSelection(std::uint32_t objectid) {
    if (objectid == 0 || readouts.selectedObject != objectid)
        return;
    readouts.selectedObject = 0;
    setReadout(Readout::foundObject, "");
    repaint();
}

void removeAircraftFromSim(AiAircraft& a) {
    if (a.st == AircraftStatus::buffer) {
        a.deleteNow = true;
        return;
    }
    if (a.removeWhenReady)
        return;
    if (a.st == AircraftStatus::adding2sim) {
        if (withdrawCreate(a.hexid))
            a.deleteQueued = true;
        else
            a.removeWhenReady = true;
        return;
    }
    releaseStand(a.sid);
    // The simulator takes a second order for one object as an error.
    const bool ordered = a.st == AircraftStatus::liveryrespawn || a.st == AircraftStatus::removingfromsim;
    a.st = AircraftStatus::removingfromsim;
    clearSelection(a.objectid);
    if (a.objectid == 0) {
        log(fmt::format("{} removing act {}, with objectid=0 ?", "removeAircraftFromSim", longLabel(a)));
        a.deleteNow = true; // no object will be reported as gone
    }
    if (!ordered)
        orderRemoval(a.objectid);
}

} // namespace kes
