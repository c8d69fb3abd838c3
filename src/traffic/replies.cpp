// SPDX-License-Identifier: MIT
#include "traffic/replies.h"

#include "airports/static_parking.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "liveries/matching.h"
#include "sim/orders.h"
#include "traffic/abandoned.h"
#include "traffic/controls.h"
#include "traffic/flight_plans.h"
#include "traffic/ground_data.h"
#include "traffic/light_sequence.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr std::uint32_t firstAiObject = 3; ///< below are the user's own objects
constexpr std::size_t tooManyRefused = 20;

void onCreated(const SimReply& reply, const Motion& m) {
    if (reply.objectid < firstAiObject)
        return;
    LiveAircraft* a = findLive(reply.hexid);
    const bool asked = a != nullptr && a->st == AircraftStatus::adding2sim && a->askedTick >= 0;
    if (takeAbandoned(reply.hexid) || !asked || (a->objectid != 0 && a->objectid != reply.objectid)) {
        orderRemoval(reply.objectid); // nobody would ever move it or take it away
        return;
    }
    a->objectid = reply.objectid;
    a->agl = reply.b;
    if (!a->stream.empty() && !a->stream.front().airborne) {
        a->onGround = true;
        setGear(*a, true, m);
        a->altStep = 0.0;
    }
    if (a->fs == FlightState::parked)
        noteParked(*a);
    a->rotationCount = 1;
    writeFlightPlan(*a);
    requestStaticData(a->objectid);
    beginLightSequence(reply.objectid, reply.hexid);
}

void onCreatedStatic(const SimReply& reply) {
    AiAircraft* parked = findParked(reply.hexid);
    if (reply.objectid < firstAiObject)
        return;
    if (parked == nullptr) {
        orderRemoval(reply.objectid); // withdrawn too late
        return;
    }
    parked->objectid = reply.objectid;
    beginLightSequence(reply.objectid, reply.hexid);
}

void onRemoved(std::uint32_t objectid) {
    endLightSequence(objectid);
    forgetRemoval(objectid);
    LiveAircraft* a = findLiveByObject(objectid);
    if (a == nullptr) {
        if (AiAircraft* parked = objectid == 0 ? nullptr : findParkedByObject(objectid))
            eraseParked(*parked);
        return;
    }
    if (a->st == AircraftStatus::liveryrespawn) {
        a->st = AircraftStatus::buffer;
        a->throttleIndex = 5;
        a->flapsIndex = 4;
        a->objectid = 0;
        return;
    }
    clearSelection(objectid);
    if (a->flightPlanSet)
        deleteFlightPlan(objectid);
    eraseLive(*a);
}

[[noreturn]] void stopForRefusals() {
    const std::string text = fmt::format("there are too many liveries that could not be created by {}!", "MSFS");
    log(fmt::format("\n{}Error 81, {}\n", "===> ", text));
    throw nwk::UserErrorException(81, fmt::format("{}, see Log.txt", text));
}

void noteRefusal(const AiAircraft& a) {
    refuseTitle(a.title, a.model, a.airline);
    const std::string text = fmt::format("{} \"{}\" could not be created by your Sim!", a.callsign, a.title);
    log(text);
    showStatus(text, false);
}

void onCreateFailed(std::uint32_t hexid) {
    if (stopWanted())
        return;
    if (hexid <= lastStaticHexid) {
        if (AiAircraft* parked = findParked(hexid))
            eraseParked(*parked);
        return;
    }
    LiveAircraft* a = findLive(hexid);
    if (takeAbandoned(hexid) || a == nullptr)
        return;
    noteRefusal(*a);
    eraseLive(*a);
    if (refusedTitleCount() >= tooManyRefused)
        stopForRefusals();
}

void applyReply(const SimReply& reply, const Motion& m) {
    switch (reply.kind) {
    case ReplyKind::created:
        onCreated(reply, m);
        break;
    case ReplyKind::createdStatic:
        onCreatedStatic(reply);
        break;
    case ReplyKind::removed:
        onRemoved(reply.objectid);
        break;
    case ReplyKind::ground:
        if (LiveAircraft* a = findLiveByObject(reply.objectid))
            applyGroundData(*a, reply.hexid != 0, reply.a, reply.b, m);
        break;
    case ReplyKind::staticData:
        if (LiveAircraft* a = findLiveByObject(reply.objectid))
            applyStaticData(*a, reply.a, reply.b);
        break;
    case ReplyKind::createFailed:
        onCreateFailed(reply.hexid);
        break;
    }
}

} // namespace

void applySimReplies() {
    const Motion m = motionNow();
    drainSimReplies([&m](const SimReply& reply) { applyReply(reply, m); });
    advanceLightSequences(m);
}

} // namespace kes
