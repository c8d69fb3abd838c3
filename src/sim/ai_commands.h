// SPDX-License-Identifier: MIT
// The queues between the worker, which decides what AI aircraft do, and the SimClient thread, which talks to the
// simulator. The worker fills them under `simMutex`; each frame empties all of them in one fixed order.
#pragma once

#include "sim/definitions.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// Guards all queues below but the write buffer of the positions, and `simHandle` against being closed while another
/// thread sends: every thread but the SimClient thread holds it for its requests. That one tries it once per frame, so
/// that no frame waits for a tick, and takes it only for a new object (`takeControl`) and to close.
extern std::mutex simMutex;
/// Guards the list of replies that wait for `drainSimReplies`; held for an append or a swap, never with another.
extern std::mutex simEventMutex;

/// One aircraft's pose for the simulator, in the order of data definition 402.
struct AiPositionRecord {
    double lat = 0, lon = 0;                 ///< degrees
    double pitch = 0, bank = 0, heading = 0; ///< radians
    double alt = 0;                          ///< feet
    double vs = 0;                           ///< feet per second
    double tas = 0;                          ///< knots
    std::uint32_t objectid = 0;
};

struct AiEvent {
    std::uint32_t objectid = 0, eventId = 0, value = 0;
};

struct CreateRequest {
    double lat = 0, lon = 0, alt = 0;        ///< degrees, feet
    double pitch = 0, bank = 0, heading = 0; ///< degrees
    std::uint32_t onGround = 0, airspeed = 0;
    std::string tailNumber; ///< the aircraft's callsign
    std::string_view title; ///< owned by the livery store
    std::uint32_t hexid = 0;
};

enum class ReplyKind : std::uint32_t {
    created = 0,
    createdStatic = 1,
    removed = 2,
    ground = 3,
    staticData = 4,
    createFailed = 6
};

struct SimReply {
    std::uint32_t objectid = 0;
    std::uint32_t hexid = 0; ///< kind ground: the on-ground value
    std::uint32_t reserved = 0;
    ReplyKind kind = ReplyKind::created;
    double a = 0,
           b = 0; ///< created: -, feet above ground; ground: ground altitude, feet above ground; static: cg, pitch
};

// Worker only.
void queuePosition(const AiPositionRecord& record); ///< no lock
/// Hands this tick's positions over. While the lock is busy they are dropped at 50 frames per second or less, or with
/// none counted yet; above, where the next frame is near, this waits for the lock.
void publishPositions();
void clearPositionBuffers(); ///< both halves, under `simMutex`

// Any thread; each takes `simMutex` for the append, and what was appended goes out with the next frame, events before
// creations before removals. Nothing is checked but at removals, which pass over the user's own objects.
void queueEvent(std::uint32_t objectid, std::uint32_t eventId, std::uint32_t value);
void queueEvents(std::span<const AiEvent> events);
void setNavLights(std::uint32_t objectid, bool on);   ///< `queueEvent` of these lights
void setCabinLights(std::uint32_t objectid, bool on); ///< likewise
void queueCreate(const CreateRequest& request);
void queueRemove(std::uint32_t objectid);

/// Takes what waits for the next frame and hands nothing to a simulator; for tests without one.
void takeQueuedCommands(std::vector<CreateRequest>& creates, std::vector<std::uint32_t>& removals);

/// Hands all waiting replies to `apply`, in their order and without a lock. Worker.
void drainSimReplies(const std::function<void(const SimReply&)>& apply);
void addSimReply(const SimReply& reply); ///< SimClient thread; tests

// Direct calls, each under `simMutex`. Worker. False after a failure; what follows a failure is told at each.
/// Height of the reference point and pitch of an object. A failure is logged and ends the run for a restart; false, and
/// nothing is sent, once `simRequestFailed` is set.
bool requestStaticData(std::uint32_t objectid);
bool requestRange(); ///< all aircraft within rangeMetres; a failure is logged and ends the run likewise
bool sendAllLightsToggle(std::uint32_t objectid); ///< now; a failure is only logged
/// Gives an object the flight plan file at `path`. False after a failure.
bool setFlightPlan(std::uint32_t objectid, const std::string& path);
/// Spoilers and both throttles of an object in percent. False after a failure.
bool setControlData(std::uint32_t objectid, double spoilers, double throttle1, double throttle2);

/// Takes an object from the simulator's own pilot: releases it, and freezes its position, altitude and attitude with
/// the next frame. SimClient thread.
void takeControl(std::uint32_t objectid);

/// Reserves the queues for a run and clears `simRequestFailed`. Worker, before the SimClient thread starts.
void prepareSimQueues();
/// Empties everything for a new run. Worker, after the SimClient thread has ended.
void resetSimQueues();

/// Sends all that waits; once per frame, on the SimClient thread. With the lock busy everything waits for the next
/// frame; without a simulator, or after a failed request, it is dropped. A failed creation or removal ends the run for
/// a restart.
void flushCommands();

} // namespace kes
