// SPDX-License-Identifier: MIT
#include "sim/ai_objects.h"

#include "core/ai_aircraft.h"
#include "core/version.h"
#include "sim/ai_commands.h"
#include "sim/from_simulator.h"
#include "sim/sim_client.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace kes {

using namespace simconnect;

namespace {

/// Above ground, feet: what flies higher needs no ground data.
constexpr double groundDataLimit = 2500.0;
constexpr std::size_t reserved = 256;

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
    takeControl(objectid);
    addSimReply({.objectid = objectid,
                 .hexid = hexid,
                 .kind = hexid > lastStaticHexid ? ReplyKind::created : ReplyKind::createdStatic,
                 .b = data.agl});
}

} // namespace

void noteCreateSent(std::uint32_t sendId, std::uint32_t hexid, std::string_view tailNumber) {
    pendingCreates.push_back({sendId, hexid, std::string(tailNumber.substr(0, tailNumberChars))});
}

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

void prepareAiObjects() {
    pendingCreates.reserve(reserved);
}

void resetAiObjects() {
    pendingCreates.clear();
    addedObjects.clear();
    framesUnjoined = 0;
}

} // namespace kes
