// SPDX-License-Identifier: MIT
#include "sim/ai_commands.h"

#include "core/log.h"
#include "core/run_state.h"
#include "core/window.h"
#include "sim/ai_objects.h"
#include "sim/from_simulator.h"
#include "sim/sim_client.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

using namespace simconnect;

std::mutex simMutex;
std::mutex simEventMutex;

namespace {

/// Below this many frames per second a tick's positions are dropped rather than waited for.
constexpr float dropLimitFps = 50.0F;
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
    noteCreateSent(sendId, request.hexid, request.tailNumber);
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

void takeControl(std::uint32_t objectid) {
    const std::lock_guard lock(simMutex);
    SimConnect_AIReleaseControl(simHandle, objectid, req::release);
    for (std::uint32_t freeze : {event::freezeLatLon, event::freezeAltitude, event::freezeAttitude})
        eventQueue.push_back({objectid, freeze, 1});
}

void prepareSimQueues() {
    prepareAiObjects();
    {
        const std::lock_guard lock(simMutex);
        createQueue.reserve(reserved);
        removeQueue.reserve(reserved);
        positionBuffer[0].reserve(reserved);
        positionBuffer[1].reserve(reserved);
    }
    simRequestFailed = false;
}

void resetSimQueues() {
    resetAiObjects();
    {
        const std::lock_guard lock(simMutex);
        positionBuffer[0].clear();
        positionBuffer[1].clear();
        writeBuffer = &positionBuffer[0];
        readBuffer = &positionBuffer[1];
        eventQueue.clear();
        createQueue.clear();
        removeQueue.clear();
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

} // namespace kes
