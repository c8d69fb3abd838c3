#include "sim/ai_commands.h"

#include "core/ai_aircraft.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "sim/from_simulator.h"
#include "sim/sim_client.h"
#include "sim/sim_internal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>

namespace kes {

using namespace simconnect;

std::mutex simMutex;
std::mutex simEventMutex;

namespace {

/// Below this many frames per second a tick's positions are dropped rather than waited for.
constexpr float dropLimitFps = 50.0F;
/// Above ground, feet: what flies higher needs no ground data.
constexpr double groundDataLimit = 2500.0;
constexpr std::size_t reserved = 256;
/// Replies that wait for the tick. It takes all of them every 10 ms, so only a flood gets there.
constexpr std::size_t mostReplies = 100000;

// The position double buffer: the worker writes one half without a lock, the thread reads the other under simMutex.
std::vector<AiPositionRecord> positionBuffer[2];
std::vector<AiPositionRecord>* writeBuffer = &positionBuffer[0];
std::vector<AiPositionRecord>* readBuffer = &positionBuffer[1];

std::vector<AiEvent> eventQueue;
std::vector<CreateRequest> createQueue;
std::vector<std::uint32_t> removeQueue;
std::vector<SimReply> replies; // under simEventMutex

/// A create that the simulator has not answered. SimClient thread.
struct PendingCreate {
    std::uint32_t sendId;
    std::uint32_t hexid;
    std::string tailNumber; // as the wire carries it
};
std::vector<PendingCreate> pendingCreates;
ObjectIds addedObjects; // SimClient thread
int framesUnjoined = 0; // with creates and objects that wait for each other. SimClient thread
/// Range requests come five times per second: an object unknown for this many frames is out of their reach. An
/// aircraft whose object is joined late is late on its way and has to make up for it.
constexpr int joinLateFrames = 30;
constexpr int joinLateStep = 10; ///< frames between two such objects, so that one reply is in before the next request

/// What went wrong during a flush; told after the lock is released, since telling takes other locks.
struct FlushTrouble {
    bool requestFailed = false;
    std::vector<std::string> warnings;
    std::vector<std::string> status;
};

void createInSim(HANDLE handle, const CreateRequest& request, FlushTrouble& trouble) {
    const InitPosition position{request.lat,  request.lon,     request.alt,      request.pitch,
                                request.bank, request.heading, request.onGround, request.airspeed};
    const std::string title(request.title);
    if (failed(SimConnect_AICreateNonATCAircraft(handle, title.c_str(), request.tailNumber.c_str(), position,
                                                 req::create))) {
        trouble.warnings.push_back(
            fmt::format("! Simcon call to create ac in sim failed, hexid:{}, liv: \"{}\", callsign: {}", request.hexid,
                        quoted(request.title), kes::quoted(request.tailNumber)));
        trouble.requestFailed = true;
        return;
    }
    DWORD sendId = 0;
    if (failed(SimConnect_GetLastSentPacketID(handle, &sendId)))
        trouble.warnings.emplace_back("GetLastSentPacketID");
    pendingCreates.push_back({sendId, request.hexid, request.tailNumber.substr(0, tailNumberChars)});
}

void sendEvents(HANDLE handle, FlushTrouble& trouble) {
    for (const AiEvent& e : eventQueue) {
        // A simulator that still steers the object would put the flaps back at once.
        if (e.eventId == event::flaps)
            SimConnect_AIReleaseControl(handle, e.objectid, req::release);
        if (failed(SimConnect_TransmitClientEvent(handle, e.objectid, e.eventId, e.value, notificationGroup,
                                                  eventFlagDefault)))
            trouble.status.push_back(fmt::format("SimConnect TransmitClientEvent: {} fails", e.eventId));
        else if (e.eventId == event::flaps)
            SimConnect_AIReleaseControl(handle, e.objectid, req::release);
    }
    eventQueue.clear();
}

void sendRemovals(HANDLE handle, FlushTrouble& trouble) {
    for (std::uint32_t objectid : removeQueue) {
        if (objectid <= userObjectId) {
            trouble.warnings.push_back(fmt::format("Simconnect call to remove ac with objectid {}", objectid));
            continue;
        }
        if (failed(SimConnect_AIRemoveObject(handle, objectid, req::remove))) {
            trouble.warnings.push_back(
                fmt::format("{}!Simconnect call to remove AI ac from sim failed, id {}?", timeStamp(), objectid));
            trouble.requestFailed = true;
        }
    }
    removeQueue.clear();
}

/// The range may shrink, or the user fly away, while an object is made. No range reply would ever name it, and it would
/// stay in the simulator for good, so what is still unknown is asked for one by one.
void askForUnjoined(HANDLE handle) {
    if (addedObjects.ids.empty() || pendingCreates.empty()) {
        framesUnjoined = 0;
        return;
    }
    ++framesUnjoined;
    if (framesUnjoined < joinLateFrames || framesUnjoined % joinLateStep != 0)
        return;
    const std::size_t turn = static_cast<std::size_t>(framesUnjoined / joinLateStep) % addedObjects.ids.size();
    SimConnect_RequestDataOnSimObject(handle, req::joinLate, def::range, addedObjects.ids[turn], Period::once);
}

} // namespace

void queuePosition(const AiPositionRecord& record) {
    writeBuffer->push_back(record);
}

void publishPositions() {
    std::unique_lock lock(simMutex, std::try_to_lock);
    if (!lock.owns_lock()) {
        if (readouts.simFrameRate <= dropLimitFps) {
            writeBuffer->clear();
            return;
        }
        lock.lock();
    }
    std::swap(writeBuffer, readBuffer);
    writeBuffer->clear();
}

void clearPositionBuffers() {
    const std::lock_guard lock(simMutex);
    writeBuffer->clear();
    readBuffer->clear();
}

void queueEvent(std::uint32_t objectid, std::uint32_t eventId, std::uint32_t value) {
    const std::lock_guard lock(simMutex);
    eventQueue.push_back({objectid, eventId, value});
}

void queueEvents(std::span<const AiEvent> events) {
    if (events.empty())
        return;
    const std::lock_guard lock(simMutex);
    eventQueue.insert(eventQueue.end(), events.begin(), events.end());
}

void setNavLights(std::uint32_t objectid, bool on) {
    queueEvent(objectid, event::navLights, on ? 1 : 0);
}
void setCabinLights(std::uint32_t objectid, bool on) {
    queueEvent(objectid, event::cabinLights, on ? 1 : 0);
}

void queueCreate(const CreateRequest& request) {
    const std::lock_guard lock(simMutex);
    createQueue.push_back(request);
}

void queueRemove(std::uint32_t objectid) {
    const std::lock_guard lock(simMutex);
    removeQueue.push_back(objectid);
}

void takeQueuedCommands(std::vector<CreateRequest>& creates, std::vector<std::uint32_t>& removals) {
    const std::lock_guard lock(simMutex);
    creates = std::move(createQueue);
    removals = std::move(removeQueue);
    createQueue.clear();
    removeQueue.clear();
}

void addSimReply(const SimReply& reply) {
    {
        const std::lock_guard lock(simEventMutex);
        if (replies.size() < mostReplies) {
            replies.push_back(reply);
            return;
        }
    }
    simulatorLog.write("! Reply of the simulator is lost, too many wait");
}

void drainSimReplies(const std::function<void(const SimReply&)>& apply) {
    // Swapped out first: applying a reply sends events, and no lock is taken inside another.
    static std::vector<SimReply> taken;
    taken.clear();
    {
        const std::lock_guard lock(simEventMutex);
        taken.swap(replies);
    }
    for (const SimReply& reply : taken)
        apply(reply);
}

bool requestStaticData(std::uint32_t objectid) {
    {
        const std::lock_guard lock(simMutex);
        if (simRequestFailed || !failed(SimConnect_RequestDataOnSimObject(simHandle, req::staticData, def::staticData,
                                                                          objectid, Period::once)))
            return !simRequestFailed;
    }
    log("SimConnect request StaticCG fails");
    requestError();
    return false;
}

bool requestRange() {
    {
        const std::lock_guard lock(simMutex);
        if (!failed(SimConnect_RequestDataOnSimObjectType(
                simHandle, req::range, def::range, static_cast<DWORD>(rangeMetres.load()), SimObjectType::aircraft)))
            return true;
    }
    log("SimConnect request ac within range fails");
    requestError();
    return false;
}

bool sendAllLightsToggle(std::uint32_t objectid) {
    {
        const std::lock_guard lock(simMutex);
        if (!failed(SimConnect_TransmitClientEvent(simHandle, objectid, event::allLightsToggle, 0, notificationGroup,
                                                   eventFlagDefault)))
            return true;
    }
    log("SimConnect gf_allLightsToggle fails");
    return false;
}

bool setFlightPlan(std::uint32_t objectid, const std::string& path) {
    const std::lock_guard lock(simMutex);
    return SimConnect_AISetAircraftFlightPlan(simHandle, objectid, path.c_str(), req::flightPlan) == S_OK;
}

bool setControlData(std::uint32_t objectid, double spoilers, double throttle1, double throttle2) {
    const double values[3] = {spoilers, throttle1, throttle2};
    const std::lock_guard lock(simMutex);
    return !failed(SimConnect_SetDataOnSimObject(simHandle, def::control, objectid, 0, 1, sizeof values, values));
}

void prepareSimQueues() {
    {
        const std::lock_guard lock(simMutex);
        createQueue.reserve(reserved);
        removeQueue.reserve(reserved);
        pendingCreates.reserve(reserved);
        positionBuffer[0].reserve(reserved);
        positionBuffer[1].reserve(reserved);
    }
    simRequestFailed = false;
}

void resetSimQueues() {
    {
        const std::lock_guard lock(simMutex);
        positionBuffer[0].clear();
        positionBuffer[1].clear();
        writeBuffer = &positionBuffer[0];
        readBuffer = &positionBuffer[1];
        eventQueue.clear();
        createQueue.clear();
        removeQueue.clear();
        pendingCreates.clear();
        addedObjects.clear();
        framesUnjoined = 0;
    }
    const std::lock_guard lock(simEventMutex);
    replies.clear();
}

void flushCommands() {
    FlushTrouble trouble;
    {
        // A busy lock must not hold back the simulator's frame: the commands wait for the next one.
        std::unique_lock lock(simMutex, std::try_to_lock);
        if (!lock.owns_lock())
            return;
        const HANDLE handle = simHandle;
        if (simRequestFailed || handle == nullptr) {
            readBuffer->clear();
            eventQueue.clear();
            createQueue.clear();
            removeQueue.clear();
            return;
        }
        const std::uint32_t user = userObjectId;
        for (const AiPositionRecord& record : *readBuffer) {
            if (record.objectid > user)
                SimConnect_SetDataOnSimObject(handle, def::position, record.objectid, 0, 1, 8 * sizeof(double),
                                              &record);
        }
        readBuffer->clear();
        sendEvents(handle, trouble);
        for (const CreateRequest& request : createQueue)
            createInSim(handle, request, trouble);
        createQueue.clear();
        sendRemovals(handle, trouble);
        askForUnjoined(handle);
    }
    for (const std::string& text : trouble.warnings)
        logWarning(text);
    for (const std::string& text : trouble.status)
        showStatus(text, false);
    if (trouble.requestFailed)
        requestError();
}

void noteObjectAdded(std::uint32_t objectid) {
    if (objectid > userObjectId && !addedObjects.add(objectid))
        simulatorLog.write(fmt::format("! More than {} added objects are unknown", ObjectIds::limit));
}

void noteObjectRemoved(std::uint32_t objectid) {
    // An object that went before its first range reply must not lend its number to a later one.
    addedObjects.erase(objectid);
    addSimReply({.objectid = objectid, .kind = ReplyKind::removed});
}

void noteCreateRefused(std::uint32_t sendId) {
    const auto it = std::find_if(pendingCreates.begin(), pendingCreates.end(),
                                 [&](const PendingCreate& p) { return p.sendId == sendId; });
    if (it == pendingCreates.end())
        return;
    const std::uint32_t hexid = it->hexid;
    pendingCreates.erase(it);
    if (hexid != 0)
        addSimReply({.hexid = hexid, .kind = ReplyKind::createFailed});
}

std::string_view textOf(const RecvSimObjectData& message, std::size_t offset, std::size_t limit) {
    const std::size_t size = dataSizeOf(message);
    if (offset >= size)
        return {};
    const char* begin = reinterpret_cast<const char*>(dataOf(message)) + offset;
    const std::size_t room = std::min(limit, size - offset);
    const void* zero = std::memchr(begin, 0, room);
    return {begin, zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - begin) : room};
}

namespace {

struct RangeData {
    double agl, groundAltitude;
    std::int64_t onGround;
};

void joinAddedObject(std::uint32_t objectid, std::string_view atcId, const RangeData& data) {
    std::uint32_t hexid = 0;
    if (!atcId.empty()) {
        const auto it = std::find_if(pendingCreates.begin(), pendingCreates.end(),
                                     [&](const PendingCreate& p) { return p.tailNumber == atcId; });
        if (it != pendingCreates.end()) {
            hexid = it->hexid;
            pendingCreates.erase(it);
        }
    }
    if (hexid == 0) {
        simulatorLog.write(fmt::format("just spawned, but not by {}, oid: {}, callsign \"{}\", altaboveGnd:{:.0f} ft, "
                                       "onground:{}, gnd_alt:{:.0f} ft ",
                                       programName, objectid, readable(atcId), data.agl, data.onGround,
                                       data.groundAltitude));
        return;
    }
    {
        const std::lock_guard lock(simMutex);
        SimConnect_AIReleaseControl(simHandle, objectid, req::release);
        for (std::uint32_t freeze : {event::freezeLatLon, event::freezeAltitude, event::freezeAttitude})
            eventQueue.push_back({objectid, freeze, 1});
    }
    addSimReply({.objectid = objectid,
                 .hexid = hexid,
                 .kind = hexid > lastStaticHexid ? ReplyKind::created : ReplyKind::createdStatic,
                 .b = data.agl});
}

} // namespace

void onObjectDataByType(const RecvSimObjectData& message) {
    RangeData data{};
    if ((message.dwRequestID != req::range && message.dwRequestID != req::joinLate) ||
        dataSizeOf(message) < sizeof data + 1)
        return;
    std::memcpy(&data, dataOf(message), sizeof data);
    const std::uint32_t objectid = message.dwObjectID;
    if (objectid <= userObjectId)
        return;
    if (!std::isfinite(data.agl) || !std::isfinite(data.groundAltitude)) {
        simulatorLog.write(fmt::format("! Range reply of object {} is no number, ignored", objectid));
        return;
    }
    const std::string_view atcId = textOf(message, sizeof data, 32);
    if (addedObjects.erase(objectid)) {
        joinAddedObject(objectid, atcId, data);
        return;
    }
    if (data.agl > groundDataLimit || atcId.empty() || atcId.back() == '*')
        return;
    addSimReply({.objectid = objectid,
                 .hexid = data.onGround != 0 ? 1U : 0U,
                 .kind = ReplyKind::ground,
                 .a = data.groundAltitude,
                 .b = data.agl});
}

void onStaticData(const RecvSimObjectData& message) {
    double values[2];
    if (dataSizeOf(message) < sizeof values)
        return;
    std::memcpy(values, dataOf(message), sizeof values);
    if (!std::isfinite(values[0]) || !std::isfinite(values[1])) {
        simulatorLog.write(fmt::format("! Static data of object {} is no number, ignored", DWORD{message.dwObjectID}));
        return;
    }
    addSimReply({.objectid = message.dwObjectID, .kind = ReplyKind::staticData, .a = values[0], .b = values[1]});
}

} // namespace kes
