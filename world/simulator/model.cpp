// SPDX-License-Identifier: MIT
#include "world/simulator/model.h"

#include "core/clock.h"
#include "core/geo.h"
#include "world/simulator/messages.h"
#include "world/simulator/stance.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kes::world {

namespace {

constexpr double flightLoadSeconds = 2.0;

void takeOut(Simulator& simulator, std::size_t place) {
    const SimObject gone = std::move(simulator.objects[place]);
    simulator.objects.erase(simulator.objects.begin() + static_cast<std::ptrdiff_t>(place));
    ++simulator.counters.objectsRemoved;
    postObjectEvent(simulator, SystemEvent::objectRemoved, gone);
    if (simulator.hooks.removed)
        simulator.hooks.removed(gone);
}

void putIn(Simulator& simulator, PendingChange& change) {
    change.object.id = simulator.nextObjectId++;
    simulator.objects.push_back(std::move(change.object));
    const SimObject& object = simulator.objects.back();
    ++simulator.counters.objectsCreated;
    simulator.counters.peakObjects = std::max<std::uint64_t>(simulator.counters.peakObjects, simulator.objects.size());
    if (Session* session = findSession(simulator, change.sessionId))
        sendAssigned(simulator, *session, change.requestId, object.id);
    postObjectEvent(simulator, SystemEvent::objectAdded, object);
    if (simulator.hooks.added)
        simulator.hooks.added(object);
}

void carryOutChanges(Simulator& simulator) {
    for (PendingChange& change : simulator.pending) {
        if (change.create) {
            putIn(simulator, change);
            continue;
        }
        for (std::size_t i = 0; i < simulator.objects.size(); ++i)
            if (simulator.objects[i].id == change.objectId) {
                takeOut(simulator, i);
                break;
            }
    }
    simulator.pending.clear();
}

/// What the AI pilot, or inertia, makes of an object that nobody holds.
void drift(const Simulator& simulator, SimObject& object, double seconds) {
    if (!object.freezeLatLon && object.tas != 0.0) {
        const LatLon there =
            destination({object.lat, object.lon}, object.heading, object.tas * feetPerNm / 3600.0 * seconds);
        object.lat = there.lat;
        object.lon = there.lon;
    }
    if (!object.freezeAltitude) {
        object.alt += object.vs * seconds;
        const double standing = groundBelow(simulator, object) + object.staticCg;
        if (object.alt < standing) {
            object.alt = standing;
            object.vs = std::max(object.vs, 0.0);
            if (!object.freezeAttitude) {
                object.pitch = object.staticPitch;
                object.bank = 0;
            }
        }
    }
}

void setClock(Simulator& simulator) {
    using namespace std::chrono;
    const sys_time<milliseconds> now(milliseconds(simulator.epochMs + simulator.timeNs / 1'000'000));
    const sys_days today = floor<days>(now);
    const year_month_day date(today);
    Surroundings& clock = simulator.clock;
    clock.zuluTime = static_cast<double>((now - today).count()) / 1000.0;
    clock.dayOfMonth = static_cast<int>(static_cast<unsigned>(date.day()));
    clock.month = static_cast<int>(static_cast<unsigned>(date.month()));
    clock.year = static_cast<int>(date.year());
    clock.day = static_cast<int>((today - sys_days(date.year() / January / 1)).count()) + 1;
}

bool isDue(DataRequest& request, bool secondBeat) {
    if (request.period == simconnect::Period::second && !secondBeat)
        return false;
    if (request.period == simconnect::Period::once)
        return true;
    const std::uint32_t period = request.periods++;
    return period >= request.origin && (period - request.origin) % (request.interval + std::uint64_t{1}) == 0;
}

void answerRequests(Simulator& simulator, Session& session, bool secondBeat) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < session.requests.size(); ++i) {
        DataRequest& request = session.requests[i];
        const Definition* definition = findDefinition(session, request.defineId);
        const SimObject* object = findObject(simulator, request.objectId);
        bool stays = definition && object;
        if (stays && isDue(request, secondBeat)) {
            sendRequested(simulator, session, request, *definition, *object);
            const bool enough = request.limit != 0 && request.sent >= request.limit;
            stays = request.period != simconnect::Period::once && !enough;
        }
        if (!stays)
            continue;
        if (kept != i)
            session.requests[kept] = std::move(request);
        ++kept;
    }
    session.requests.resize(kept);
}

bool fits(simconnect::SimObjectType wanted, const SimObject& object) {
    return wanted == simconnect::SimObjectType::all || wanted == object.type;
}

void answerQuery(Simulator& simulator, const RangeQuery& query) {
    Session* session = findSession(simulator, query.sessionId);
    const Definition* definition = session ? findDefinition(*session, query.defineId) : nullptr;
    if (!definition)
        return;
    const SimObject& user = simulator.user;
    const bool userOnly = query.radiusMetres == 0 || query.type == simconnect::SimObjectType::user;
    constexpr auto userCurrent = static_cast<simconnect::SimObjectType>(9);
    const bool withUser = userOnly || query.type == userCurrent || fits(query.type, user);
    std::vector<std::uint32_t>& found = simulator.found;
    found.clear();
    if (!userOnly) {
        const double radius = query.radiusMetres / metresPerNm;
        for (std::size_t i = 0; i < simulator.objects.size(); ++i) {
            const SimObject& object = simulator.objects[i];
            if (fits(query.type, object) && distanceNm({user.lat, user.lon}, {object.lat, object.lon}) <= radius)
                found.push_back(static_cast<std::uint32_t>(i));
        }
    }
    const auto count = static_cast<std::uint32_t>(found.size() + withUser);
    if (count == 0) {
        sendNothingFound(simulator, *session, query.requestId, query.defineId);
        return;
    }
    std::uint32_t number = 0;
    if (withUser)
        sendObjectData(simulator, *session, *definition, user, query.requestId, 0, true, ++number, count);
    for (const std::uint32_t place : found)
        sendObjectData(simulator, *session, *definition, simulator.objects[place], query.requestId, 0, true, ++number,
                       count);
}

void noteRests(Simulator& simulator) {
    constexpr double groundWithin = 30.0; // feet; nothing that flies stands still there
    for (const SimObject& object : simulator.objects)
        simulator.counters.rests.note(object.id, object.tail, object.title, {object.lat, object.lon},
                                      object.alt - groundBelow(simulator, object) > groundWithin,
                                      static_cast<double>(simulator.outsideNs) / 1e9);
}

void runFrame(Simulator& simulator) {
    const double seconds = static_cast<double>(simulator.timeNs - simulator.lastFrameNs) / 1e9;
    simulator.lastFrameNs = simulator.timeNs;
    ++simulator.counters.frames;
    moveUser(simulator.user, simulator.motion, simulator.terrain, seconds);
    for (SimObject& object : simulator.objects)
        if (!object.freezeLatLon || !object.freezeAltitude)
            drift(simulator, object, seconds);
    setClock(simulator);

    postFrame(simulator, static_cast<float>(simulator.framesPerSecond));
    if (simulator.simBackNs >= 0 && simulator.timeNs >= simulator.simBackNs)
        setSimRunning(simulator, true);
    carryOutChanges(simulator);

    const std::int64_t second = simulator.timeNs / 1'000'000'000;
    const std::int64_t sixth = simulator.timeNs * 6 / 1'000'000'000;
    const bool secondBeat = second != simulator.lastSecond;
    if (sixth != simulator.lastSixth)
        postEvent(simulator, SystemEvent::sixHertz, 0);
    if (secondBeat)
        postEvent(simulator, SystemEvent::second, 0);
    if (second / 4 != simulator.lastSecond / 4)
        postEvent(simulator, SystemEvent::fourSeconds, 0);
    simulator.lastSecond = second;
    simulator.lastSixth = sixth;

    if (secondBeat && simulator.outsideNs >= 0)
        noteRests(simulator);

    for (const auto& session : simulator.sessions)
        answerRequests(simulator, *session, secondBeat);
    for (const RangeQuery& query : simulator.queries)
        answerQuery(simulator, query);
    simulator.queries.clear();
}

void rebaseFrames(Simulator& simulator, std::int64_t from) {
    simulator.frameBaseNs = from;
    simulator.frameIndex = 0;
}

} // namespace

void start(Simulator& simulator, const SimulatorOptions& options) {
    simulator.options = options;
    simulator.terrain = options.terrain;
    simulator.motion = options.motion;
    simulator.epochMs = wallClock() * 1000;
    simulator.frameIndex = 1;
    setFrameRate(simulator, options.framesPerSecond);
    if (simulator.terrain.airfields.empty() && simulator.motion.mode == UserMotion::Mode::stand)
        simulator.terrain.airfields.push_back({options.lat, options.lon, options.altFeet});

    SimObject& user = simulator.user;
    const Stance stance = stanceOf(options.userTitle);
    user.id = userId;
    user.title = options.userTitle;
    user.model = options.userModel;
    user.tail = "KESTREL";
    user.staticCg = stance.cgFeet;
    user.staticPitch = stance.pitchDegrees * degToRad;
    user.lat = options.lat;
    user.lon = options.lon;
    user.alt = options.altFeet;
    user.heading = normalizeAngle(options.headingDegrees * degToRad);
    user.lights = light::nav | light::beacon;
    startUserMotion(user, simulator.motion, simulator.terrain);
    setClock(simulator);
}

std::int64_t nextFrameNs(const Simulator& simulator) {
    return simulator.frameBaseNs +
           std::llround(static_cast<double>(simulator.frameIndex) * 1e9 / simulator.framesPerSecond);
}

void advance(Simulator& simulator, std::int64_t ns, bool dropLate) {
    constexpr std::int64_t late = 250'000'000;
    const std::int64_t target = simulator.timeNs + std::max<std::int64_t>(ns, 0);
    if (dropLate && target - nextFrameNs(simulator) > late)
        rebaseFrames(simulator, target);
    for (std::int64_t due = nextFrameNs(simulator); due <= target; due = nextFrameNs(simulator)) {
        simulator.timeNs = due;
        ++simulator.frameIndex;
        if (due < simulator.stalledUntilNs) {
            // Nothing moves while the picture stands, and nobody can be blamed for being silent.
            simulator.lastFrameNs = due;
            forgetGaps(simulator);
            continue;
        }
        runFrame(simulator);
    }
    simulator.timeNs = target;
}

Session* openSession(Simulator& simulator) {
    if (simulator.quitting)
        return nullptr;
    auto session = std::make_unique<Session>();
    session->id = simulator.nextSessionId++;
    simulator.sessions.push_back(std::move(session));
    return simulator.sessions.back().get();
}

Session* findSession(Simulator& simulator, std::uint32_t sessionId) {
    for (const auto& session : simulator.sessions)
        if (session->id == sessionId)
            return session.get();
    return nullptr;
}

void closeSession(Simulator& simulator, std::uint32_t sessionId) {
    std::erase_if(simulator.sessions, [&](const auto& session) { return session->id == sessionId; });
    std::erase_if(simulator.pending, [&](const PendingChange& change) { return change.sessionId == sessionId; });
    std::erase_if(simulator.queries, [&](const RangeQuery& query) { return query.sessionId == sessionId; });
    for (std::size_t i = simulator.objects.size(); i-- > 0;)
        if (simulator.objects[i].owner == sessionId) {
            ++simulator.counters.leftBehind;
            takeOut(simulator, i);
        }
}

SimObject* findObject(Simulator& simulator, std::uint32_t id) {
    if (id == simconnect::objectIdUser || id == userId)
        return &simulator.user;
    const auto at = std::lower_bound(simulator.objects.begin(), simulator.objects.end(), id,
                                     [](const SimObject& object, std::uint32_t wanted) { return object.id < wanted; });
    return at != simulator.objects.end() && at->id == id ? &*at : nullptr;
}

SimObject* findByTail(Simulator& simulator, std::string_view tail) {
    for (SimObject& object : simulator.objects)
        if (object.tail == tail)
            return &object;
    return nullptr;
}

double groundBelow(const Simulator& simulator, const SimObject& object) {
    return terrainFeet(simulator.terrain, object.lat, object.lon);
}

std::size_t objectCount(const Simulator& simulator) {
    const auto coming = std::count_if(simulator.pending.begin(), simulator.pending.end(),
                                      [](const PendingChange& change) { return change.create; });
    return simulator.objects.size() + static_cast<std::size_t>(coming);
}

void createObject(Simulator& simulator, const Session& session, SimObject object, bool onGround,
                  std::uint32_t requestId) {
    const Stance stance = stanceOf(object.title);
    object.owner = session.id;
    object.model = stance.model;
    object.staticCg = stance.cgFeet;
    object.staticPitch = stance.pitchDegrees * degToRad;
    object.gear = onGround;
    if (onGround) {
        object.alt = groundBelow(simulator, object) + object.staticCg;
        object.pitch = object.staticPitch;
        object.bank = 0;
    }
    PendingChange change;
    change.create = true;
    change.sessionId = session.id;
    change.requestId = requestId;
    change.object = std::move(object);
    simulator.pending.push_back(std::move(change));
}

void removeObject(Simulator& simulator, SimObject& object) {
    object.leaving = true;
    PendingChange change;
    change.sessionId = object.owner;
    change.objectId = object.id;
    simulator.pending.push_back(std::move(change));
}

namespace {

/// Over two seconds, since single records come with the frames. After a break of the records it begins anew.
void noteSpeed(Counters& counters, const SimObject& object, std::int64_t now) {
    constexpr std::int64_t span = 2'000'000'000, longestBreak = 500'000'000;
    if (counters.seen.size() > 4096) // numbers are never used again, so those that have gone stay
        counters.seen.clear();
    const auto [at, isNew] = counters.seen.try_emplace(object.id);
    Counters::Seen& seen = at->second;
    const bool broken = isNew || now - seen.lastNs > longestBreak;
    seen.lastNs = now;
    if (!broken && now - seen.ns < span)
        return;
    if (!broken) {
        const double hours = static_cast<double>(now - seen.ns) / 3.6e12;
        counters.speeds.note(object.tail, static_cast<double>(now) / 1e9,
                             distanceNm({seen.lat, seen.lon}, {object.lat, object.lon}) / hours);
    }
    seen.lat = object.lat;
    seen.lon = object.lon;
    seen.ns = now;
}

} // namespace

void notePosition(Simulator& simulator, SimObject& object) {
    const std::int64_t now = simulator.outsideNs >= 0 ? simulator.outsideNs : simulator.timeNs;
    const bool moved = object.lat != object.recordLat || object.lon != object.recordLon;
    if (object.hasRecord && moved && now - object.recordNs > simulator.counters.largestGapNs) {
        simulator.counters.largestGapNs = now - object.recordNs;
        simulator.counters.largestGapTail = object.tail;
    }
    object.hasRecord = true;
    object.recordLat = object.lat;
    object.recordLon = object.lon;
    object.recordNs = now;
    if (simulator.outsideNs >= 0)
        noteSpeed(simulator.counters, object, now);
    ++object.positionRecords;
    ++simulator.counters.positionRecords;
    if (simulator.hooks.position)
        simulator.hooks.position(object);
}

void forgetGaps(Simulator& simulator) {
    for (SimObject& object : simulator.objects)
        object.hasRecord = false;
}

void setSimRunning(Simulator& simulator, bool running) {
    simulator.simBackNs = -1;
    if (simulator.running == running)
        return;
    simulator.running = running;
    forgetGaps(simulator);
    postEvent(simulator, SystemEvent::sim, running ? 1 : 0);
    postEvent(simulator, running ? SystemEvent::simStart : SystemEvent::simStop, 0);
}

void loadFlight(Simulator& simulator, std::string_view path) {
    setSimRunning(simulator, false);
    simulator.pending.clear();
    while (!simulator.objects.empty())
        takeOut(simulator, simulator.objects.size() - 1);
    simulator.flight = path;
    postFilename(simulator, SystemEvent::flightLoaded, path);
    simulator.simBackNs = simulator.timeNs + std::llround(flightLoadSeconds * 1e9);
}

void teleportUser(Simulator& simulator, double lat, double lon, double altFeet) {
    SimObject& user = simulator.user;
    user.lat = lat;
    user.lon = lon;
    user.alt = altFeet;
    // A track would pull the aircraft back at the next frame.
    if (simulator.motion.mode == UserMotion::Mode::file)
        simulator.motion = UserMotion{};
    moveUser(user, simulator.motion, simulator.terrain, 0.0);
    postEvent(simulator, SystemEvent::positionChanged, 0);
}

void setFrameRate(Simulator& simulator, double framesPerSecond) {
    rebaseFrames(simulator, simulator.timeNs);
    simulator.frameIndex = 1;
    simulator.framesPerSecond = std::clamp(framesPerSecond, 1.0, 1000.0);
}

void stallFrames(Simulator& simulator, double seconds) {
    simulator.stalledUntilNs = simulator.timeNs + std::llround(seconds * 1e9);
}

void quitSimulator(Simulator& simulator) {
    simulator.quitting = true;
    for (const auto& session : simulator.sessions) {
        if (session->opened)
            sendQuit(simulator, *session);
        session->finished = true;
    }
}

void dropClients(Simulator& simulator) {
    for (const auto& session : simulator.sessions)
        session->dropped = true;
}

} // namespace kes::world
