// SPDX-License-Identifier: MIT
// A program folder with small reference data, reports by hand, and ticks as the main loop makes them, with a simulator
// that answers through SimReply records only.
#pragma once

#include "airports/airport_ref.h"
#include "airports/static_parking.h"
#include "core/clock.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/report_queue.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "small_reference.h"
#include "spine/main_tick.h"
#include "support.h"
#include "traffic/conflicts.h"
#include "traffic/filters.h"
#include "traffic/flight.h"
#include "traffic/identity.h"
#include "traffic/no_match.h"
#include "traffic/removal.h"
#include "traffic/replies.h"
#include "traffic/spawn.h"
#include "traffic/stream.h"
#include "traffic/tick_check.h"
#include "traffic/title_table.h"
#include "traffic/user_conflicts.h"

#include <algorithm>

namespace kes::test {

struct TrafficTest : testing::Test, Samples {
    ProgramFolder program;
    std::vector<CreateRequest> created; ///< taken from the create queue, in order
    std::vector<std::uint32_t> removed; ///< taken from the removal queue, in order
    std::uint32_t nextObject = 100;
    bool simAnswers = true; ///< each request is confirmed at the next tick

    void SetUp() override {
        std::filesystem::create_directories("input");
        std::filesystem::create_directories("output");
        writeSmallReference({.types = "A320,Large,34\nB77W,Heavy,64\nC172,Light,11\nEC35,Rotorcraft,10\n"
                                      "F16,HighPerf,10\nC25A,Buzjets,15\nA388,Heavy,80\n",
                             .airlines = "DLH,Lufthansa\nBAW,British Airways\n",
                             .registrations = "D-AIZA,DLH,A320,,\nD-AIZB,DLH,A320,BAW,yes\nG-HEAV,BAW,B77W,,\n"});
        ASSERT_TRUE(writeLiveriesScanned({{"DLH", "A320", "FSLTL_DLH", ""},
                                          {"BAW", "A320", "BAW A320", ""},
                                          {"BAW", "B77W", "BAW B77W", ""},
                                          {"PVT", "C172", "Skyhawk", ""},
                                          {"PVT", "EC35", "Heli", ""},
                                          {"PVT", "A320", "Own A320", "D-AOWN"}}));
        resetEverything();
        setParameterDefaults();
        setRandomSeed(7);
        ASSERT_TRUE(readDataBase());
        resetLiveries();
        processScannedLiveries();
        prepareSimQueues();
        simRequestFailed = true; // there is no connection, and none is wanted
        tickCount = 5000;
        setRange(40);
        userAircraft.lat = homeLat;
        userAircraft.lon = homeLon;
        userAircraft.alt = 20000; // high enough to be nobody's conflict
        userAircraft.agl = 20000;
    }
    void TearDown() override {
        setWallClockMs(-1);
        resetEverything();
    }
    static void resetEverything() {
        resetLiveTraffic();
        resetParking();
        resetSimQueues();
        resetUserAircraft();
        resetWindow();
        resetStatus();
        resetRunFlags();
        maxLive = -1;
        reportQueue.clear();
        reportQueue.setAccepting(true);
    }

    /// An airliner at 300 kts that flies north, `seconds` after time 0, `lat0` degrees north of home.
    static AircraftReport report(std::uint32_t hexid, double seconds, double latOffset = 0.0) {
        AircraftReport r;
        r.hexid = hexid;
        r.model = "A320";
        r.callsign = "DLH" + std::to_string(hexid % 1000);
        r.timestamp = 1.7e9 + seconds;
        r.sample.lat = homeLat + latOffset + 300.0 * seconds / 3600.0 / 60.0;
        r.sample.lon = homeLon;
        r.sample.alt = 8000;
        r.sample.airborne = true;
        r.sample.gs = r.sample.tas = 300;
        r.sample.tick = tickCount + static_cast<std::int32_t>(seconds * 100.0) + 3000;
        return r;
    }
    static void push(const AircraftReport& r) { reportQueue.push(r); }
    static void take() { takeReports(); }
    static void feed(const AircraftReport& r) {
        push(r);
        take();
    }
    /// `count` reports of a flight, 10 s apart.
    static void feedFlight(std::uint32_t hexid, int count = 4, double latOffset = 0.0) {
        for (int i = 0; i < count; ++i)
            feed(report(hexid, i * 10.0, latOffset));
    }
    /// Three of them, by another name, of another kind.
    static void feedFlight(const std::string& callsign, const std::string& regcode, const std::string& model) {
        for (const double seconds : {0.0, 10.0, 20.0}) {
            AircraftReport r = report(firstHex, seconds);
            r.callsign = callsign;
            r.regcode = regcode;
            r.model = model;
            feed(r);
        }
    }

    static SimReply reply(ReplyKind kind, std::uint32_t objectid, std::uint32_t hexid, double a = 0, double b = 0) {
        SimReply r;
        r.kind = kind;
        r.objectid = objectid;
        r.hexid = hexid;
        r.a = a;
        r.b = b;
        return r;
    }
    /// The same, taken in at once.
    static void answer(ReplyKind kind, std::uint32_t objectid, std::uint32_t hexid, double a = 0, double b = 0) {
        addSimReply(reply(kind, objectid, hexid, a, b));
        applySimReplies();
    }

    void tick() {
        const std::int32_t now = tickCount;
        const UserAircraft user = userAircraft; // no simulator knows it
        runningTickBody();
        userAircraft = user;
        answerRequests();
        ASSERT_EQ(checkLiveTables(), "") << "at tick " << now;
    }
    void answerRequests() {
        std::vector<CreateRequest> creates;
        std::vector<std::uint32_t> removals;
        takeQueuedCommands(creates, removals);
        for (const std::uint32_t objectid : removals) {
            removed.push_back(objectid);
            if (simAnswers)
                addSimReply(reply(ReplyKind::removed, objectid, 0));
        }
        for (const CreateRequest& request : creates) {
            created.push_back(request);
            if (simAnswers)
                addSimReply(reply(ReplyKind::created, nextObject++, request.hexid, 0, 2500));
        }
    }
    void run(int ticks) {
        for (int i = 0; i < ticks; ++i) {
            tick();
            if (HasFatalFailure())
                return;
        }
    }
    /// False when it does not come true within `limit` ticks.
    template <typename Condition> bool runUntil(Condition condition, int limit = 20000) {
        for (int i = 0; i < limit; ++i) {
            if (condition())
                return true;
            tick();
        }
        return condition();
    }
    /// A record that is already driven: a flight of four samples, the first one just reached.
    LiveAircraft& activeFlight(std::uint32_t hexid, const std::vector<PositionSample>& stream,
                               const std::string& model = "A320") {
        LiveAircraft& a = liveAircraft.emplace_back();
        a.hexid = hexid;
        a.model = model;
        a.airline = "DLH";
        a.callsign = "DLH" + std::to_string(hexid % 1000);
        a.coupledCs1 = a.callsign;
        applyModel(a);
        a.title = findTitle("FSLTL_DLH");
        a.objectid = nextObject++;
        reachFirst(a, stream);
        return a;
    }
    /// Callsigns of the live aircraft that are being taken away, in the order of the table.
    static std::string leaving() {
        std::string text;
        for (const LiveAircraft& a : liveAircraft)
            if (a.st == AircraftStatus::removingfromsim)
                text += (text.empty() ? "" : " ") + a.callsign;
        return text;
    }
};

} // namespace kes::test
