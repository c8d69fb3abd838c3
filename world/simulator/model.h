// SPDX-License-Identifier: MIT
// The stand-in simulator: a model of what a client of the simulator can see and do. Nothing in it waits, sleeps or
// starts a thread: time passes when `advance` is called, and packets come in through `receive` of a session.
// Whoever shares a Simulator between threads guards all of it with one lock.
//
// Order within a frame, for each client: the frame event; "Sim" 1 when a flight has been loaded; for each create and
// remove since the last frame, in the order they came, ASSIGNED_OBJECT_ID then ObjectAdded, or ObjectRemoved; the beat
// events ("1sec" and so on); then the data, all at the frame's end: repeating and single requests in the order they
// were made (those of period "second" on the first frame of each second), and last the range replies. Exceptions go out
// at once.
#pragma once

#include "world/simulator/counters.h"
#include "world/simulator/object.h"
#include "world/simulator/session.h"
#include "world/simulator/terrain.h"
#include "world/simulator/titles.h"
#include "world/simulator/user_motion.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world {

enum class Generation { msfs2020, msfs2024 };

struct SimulatorOptions {
    Generation generation = Generation::msfs2020;
    double framesPerSecond = 30;
    double lat = 0, lon = 0;   ///< start of the user's aircraft, degrees
    double altFeet = 0;        ///< above sea level
    double headingDegrees = 0; ///< true
    std::string userTitle = "Kestrelune Test Aircraft";
    std::string userModel = "A320"; ///< "ATC MODEL"
    UserMotion motion;
    Terrain terrain;
    Titles titles;
    std::uint32_t maxObjects = 1000;  ///< AI objects, all clients together
    std::uint32_t maxReceive = 41088; ///< larger client packets are refused
    std::uint32_t lowestProtocol = 2, highestProtocol = 6;
    std::size_t maxOutput = 32u << 20; ///< bytes that may wait for one client before it is cut off
};

/// What goes wrong on demand.
struct Faults {
    std::set<std::string, std::less<>> refusedTitles;
    bool refuseAll = false;
    std::uint32_t refuseEvery = 0; ///< every n-th create; 0 = none
    std::uint32_t creates = 0;     ///< seen since `refuseEvery` was set
    bool mute = false;             ///< packets are taken and come to nothing, as while a simulator starts
    bool hangUp = false;           ///< a stream ends at its first packet
};

/// Called under the lock, as things happen. An empty one costs nothing.
struct Hooks {
    std::function<void(const SimObject&)> position;                          ///< a record was taken
    std::function<void(const SimObject&, ClientEvent, std::uint32_t)> event; ///< before it is carried out
    std::function<void(const SimObject&)> added, removed;
};

/// A create or remove that the next frame carries out.
struct PendingChange {
    bool create = false;
    std::uint32_t sessionId = 0, requestId = 0;
    SimObject object; ///< create
    std::uint32_t objectId = 0;
};

struct RangeQuery {
    std::uint32_t sessionId = 0, requestId = 0, defineId = 0, radiusMetres = 0;
    simconnect::SimObjectType type = simconnect::SimObjectType::aircraft;
};

struct Simulator {
    SimulatorOptions options;
    Faults faults;
    Hooks hooks;
    Counters counters;
    Terrain terrain;

    std::int64_t epochMs = 0;    ///< UTC at model time 0, milliseconds since 1970
    std::int64_t timeNs = 0;     ///< model time
    std::int64_t outsideNs = -1; ///< the clients' own time, for gaps; negative = they live in model time
    std::int64_t frameBaseNs = 0, frameIndex = 0; ///< frames fall due at base + index / frame rate
    std::int64_t lastFrameNs = 0, stalledUntilNs = 0;
    std::int64_t simBackNs = -1; ///< when "Sim" turns to 1 by itself; negative = never
    std::int64_t lastSecond = 0, lastSixth = 0;
    double framesPerSecond = 30;
    bool running = true; ///< "Sim"
    bool quitting = false;
    std::string flight = "flights\\other\\start.flt";
    Surroundings clock; ///< zulu time and date of this frame

    bool recordWire = false;
    std::vector<std::string>
        wire; ///< while `recordWire` is set: one line for each packet that was taken, see wire_log.h

    UserMotion motion;
    SimObject user;
    std::vector<SimObject> objects; ///< AI objects by id
    std::uint32_t nextObjectId = firstAiId, nextSessionId = 1;
    std::vector<std::unique_ptr<Session>> sessions;
    std::vector<PendingChange> pending;
    std::vector<RangeQuery> queries;
    std::vector<std::uint32_t> found; ///< scratch: places in `objects`
};

/// Sets up a fresh simulator with the user's aircraft in place. Without airfields, one lies under a user who stands.
void start(Simulator& simulator, const SimulatorOptions& options);
/// Lets model time pass; every frame that falls due runs. With `dropLate` a late caller loses frames, as a slow
/// machine does, instead of getting them in one burst.
void advance(Simulator& simulator, std::int64_t ns, bool dropLate = false);
/// Model time at which the next frame falls due.
std::int64_t nextFrameNs(const Simulator& simulator);

/// A new client. Null once the simulator quits.
Session* openSession(Simulator& simulator);
/// The stream has ended: forgets what the client declared and removes its objects.
void closeSession(Simulator& simulator, std::uint32_t sessionId);
/// Null when it has been closed.
Session* findSession(Simulator& simulator, std::uint32_t sessionId);

/// An AI object or the user's (ids 0 and 1); null when there is none.
SimObject* findObject(Simulator& simulator, std::uint32_t id);
/// The first AI object with this tail number; null when there is none.
SimObject* findByTail(Simulator& simulator, std::string_view tail);
double groundBelow(const Simulator& simulator, const SimObject& object); ///< feet

/// Queues an object for the next frame. `onGround` puts it on the terrain.
void createObject(Simulator& simulator, const Session& session, SimObject object, bool onGround,
                  std::uint32_t requestId);
/// It leaves with the next frame.
void removeObject(Simulator& simulator, SimObject& object);
/// AI objects there are, those on their way included.
std::size_t objectCount(const Simulator& simulator);

/// Books a position record of an AI object that has just been written.
void notePosition(Simulator& simulator, SimObject& object);
/// Gaps that span this moment do not count.
void forgetGaps(Simulator& simulator);

/// "Sim", told to all who have subscribed to it.
void setSimRunning(Simulator& simulator, bool running);
/// Loads another flight: "Sim" 0, all AI objects gone, the file event, and "Sim" 1 two seconds of frames later.
void loadFlight(Simulator& simulator, std::string_view path);
void teleportUser(Simulator& simulator, double lat, double lon, double altFeet); ///< degrees; above sea level
void setFrameRate(Simulator& simulator, double framesPerSecond);                 ///< 1 to 1000, from now on
void stallFrames(Simulator& simulator, double seconds);                          ///< no frame until then
void quitSimulator(Simulator& simulator); ///< QUIT to everybody, then the streams end
void dropClients(Simulator& simulator);   ///< the streams end without a word

} // namespace kes::world
