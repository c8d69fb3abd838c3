// What the simulator answers: objects that came, went or could not be made, and what is known of them.
#include "airports/static_parking.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "liveries/matching.h"
#include "sim/orders.h"
#include "traffic/flight_plans.h"
#include "traffic/ground_motion.h"
#include "traffic/life_cycle.h"
#include "traffic/life_cycle_parts.h"
#include "traffic/parking.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr std::uint32_t firstAiObject = 3; ///< below are the user's own objects
constexpr std::int32_t toggleTicks[] = {50, 100};
constexpr std::int32_t sequenceTicks = 200;
constexpr std::size_t tooManyRefused = 20;
constexpr double lowAltitude = 10000.0;  ///< feet
constexpr double cabinLightAgl = 2000.0; ///< feet

/// A new object needs some seconds before it takes its lights.
struct LightSequence {
    std::uint32_t objectid = 0;
    std::uint32_t hexid = 0;
    std::int32_t ticks = 0;
};
std::vector<LightSequence> lightSequences;

void sendInitialSet(LiveAircraft& a, const Motion& m) {
    const std::int32_t idle = a.category == AircraftCategory::rotorcraft ? 4 : 0;
    if (!a.stream.empty() && a.stream.front().airborne) {
        m.out.event(a.objectid, event::engineStart, 0);
        setSpoilers(a, 0, m);
        const bool low = a.alt <= lowAltitude;
        sendLights(a.objectid, {.landing = low, .strobes = true, .logo = low, .cabin = a.agl >= cabinLightAgl}, m);
        return;
    }
    setSpoilers(a, 0, m);
    if (a.fs == FlightState::parked) {
        m.out.event(a.objectid, event::engineShutdown, 0);
        sendLights(a.objectid, {.nav = par::NAV_LIGHTS_WHILE_PARKED, .beacon = false, .logo = true, .cabin = true}, m);
        setThrottleLevel(a, idle, m);
        setFlapsLevel(a, 0, m);
        return;
    }
    const bool taxiing = a.fs == FlightState::taxi;
    m.out.event(a.objectid, event::engineStart, 0);
    sendLights(a.objectid, {.taxi = taxiing, .logo = true, .cabin = true}, m);
    setThrottleLevel(a, idle, m);
    setFlapsLevel(a, taxiing ? 1 : 0, m);
}

template <typename Record> void becomeActive(Record& a) {
    a.st = AircraftStatus::active;
    if (!a.removeWhenReady)
        return;
    a.removeWhenReady = false; // the removal takes the mark for one that still waits
    removeAircraftFromSim(a);
}

AiAircraft* findParked(std::uint32_t hexid) {
    const auto it = std::ranges::find(parkedAircraft, hexid, &AiAircraft::hexid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

AiAircraft* findParkedByObject(std::uint32_t objectid) {
    const auto it = std::ranges::find(parkedAircraft, objectid, &AiAircraft::objectid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

void eraseParked(AiAircraft& a) {
    if (&a != &parkedAircraft.back())
        a = std::move(parkedAircraft.back());
    parkedAircraft.pop_back();
}

void endStaticSequence(AiAircraft& a, const Motion& m) {
    m.out.event(a.objectid, event::engineShutdown, 0);
    sendLights(a.objectid, {.nav = par::NAV_LIGHTS_WHILE_PARKED, .beacon = false, .logo = true, .cabin = !a.standCargo},
               m);
    if (par::LOG)
        log(fmt::format("{:8}: {:8} parked", standName(a.sid), a.callsign));
    becomeActive(a);
}

/// False = the sequence is over, or its aircraft has gone.
bool advanceSequence(LightSequence& sequence, const Motion& m) {
    if (sequence.hexid <= lastStaticHexid) {
        AiAircraft* parked = findParked(sequence.hexid);
        if (parked == nullptr || parked->objectid != sequence.objectid)
            return false;
        if (++sequence.ticks < sequenceTicks)
            return true;
        endStaticSequence(*parked, m);
        return false;
    }
    LiveAircraft* live = findLive(sequence.hexid);
    if (live == nullptr || live->objectid != sequence.objectid)
        return false;
    ++sequence.ticks;
    if (std::ranges::find(toggleTicks, sequence.ticks) != std::end(toggleTicks))
        sendAllLightsToggle(sequence.objectid);
    if (sequence.ticks < sequenceTicks)
        return true;
    sendInitialSet(*live, m);
    becomeActive(*live);
    return false;
}

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
    lightSequences.push_back({reply.objectid, reply.hexid, 0});
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
    lightSequences.push_back({reply.objectid, reply.hexid, 0});
}

void onRemoved(std::uint32_t objectid) {
    std::erase_if(lightSequences, [&](const LightSequence& s) { return s.objectid == objectid; });
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

void clearLightSequences() {
    lightSequences.clear();
}

void applySimReplies() {
    const Motion m = motionNow();
    drainSimReplies([&m](const SimReply& reply) { applyReply(reply, m); });
    std::size_t kept = 0;
    for (LightSequence& sequence : lightSequences) {
        if (advanceSequence(sequence, m))
            lightSequences[kept++] = sequence;
    }
    lightSequences.resize(kept);
}

} // namespace kes
