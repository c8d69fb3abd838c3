// SPDX-License-Identifier: MIT
// What the tests of the simulator's client share: a program folder, everything at its start, the client ended at the
// end.
#pragma once

#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "sim/ai_commands.h"
#include "sim/from_simulator.h"
#include "sim/sim_client.h"
#include "support.h"
#include "world/simulator/inproc.h"

#include <fmt/format.h>

namespace kes::test {

struct SimTest : testing::Test {
    static constexpr double userLat = 48.35, userLon = 11.78; ///< the user, who hovers well above it
    const ProgramFolder program;

    void SetUp() override {
        setParameterDefaults();
        setRange(40);
        resetAll();
        prepareSimQueues();
    }
    void TearDown() override {
        requestSimClientStop();
        joinSimClient();
        world::inprocStop();
        resetAll();
    }
    static void resetAll() {
        resetSimClient();
        resetSimQueues();
        resetUserAircraft();
        resetWindow();
        resetStatus();
        resetRunFlags();
        clearError();
        simulatorLog.finish();
        resetForeignBudget();
    }
    static world::SimulatorOptions options() {
        world::SimulatorOptions o;
        o.lat = userLat;
        o.lon = userLon;
        o.altFeet = 5000;
        o.terrain.airfields.push_back({userLat, userLon, 1000.0});
        o.titles.known.insert("Test A320 One");
        return o;
    }
    /// The replies since the last call, in the order of their coming.
    static std::vector<SimReply> takeReplies() {
        static std::vector<SimReply> replies;
        replies.clear();
        drainSimReplies([](const SimReply& reply) { replies.push_back(reply); });
        return replies;
    }
    /// "kind object hexid a b" of each of them.
    static std::string toldReplies() {
        std::string text;
        for (const SimReply& r : takeReplies())
            text += fmt::format("{}{} {} {} {} {}", text.empty() ? "" : ", ", static_cast<std::uint32_t>(r.kind),
                                r.objectid, r.hexid, r.a, r.b);
        return text;
    }
    static void startClient(double speed, const world::SimulatorOptions& o = options()) {
        world::inprocStart(o);
        world::inprocRunThread(speed);
        startSimClient();
        ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
    }
    static CreateRequest request(std::string tail, std::string_view title = "Test A320 One") {
        CreateRequest r;
        r.lat = userLat + 0.05;
        r.lon = userLon;
        r.alt = 3000;
        r.heading = 90;
        r.tailNumber = std::move(tail);
        r.title = title;
        r.hexid = 4195971;
        return r;
    }
};

} // namespace kes::test
