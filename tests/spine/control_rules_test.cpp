// SPDX-License-Identifier: MIT
// What the user does to the controls of the window, and what the worker makes of it.
#include "core/parameters_file.h"
#include "core/run_state.h"
#include "flight_folder.h"
#include "spine/control_rules.h"
#include "spine/waits.h"
#include "spine/worker.h"

#include <algorithm>

namespace kes::test {
namespace {

struct ControlRulesTest : VirtualRun {
    void SetUp() override {
        VirtualRun::SetUp();
        readParameters();
    }
    /// The requests to the worker that stand at present.
    static std::vector<const std::atomic<bool>*> requests() {
        std::vector<const std::atomic<bool>*> all;
        WindowRequests& r = windowRequests;
        for (const std::atomic<bool>* request : {&r.reRead, &r.flushStatic, &r.findCallsign, &r.blockNow, &r.parkAdjust,
                                                 &r.clearNoMatch, &r.maxLive, &r.newSettings})
            if (*request)
                all.push_back(request);
        return all;
    }
};

TEST_F(ControlRulesTest, EachKindOfControlSetsValueFileBoxAndRequest) {
    using namespace par;
    WindowRequests& r = windowRequests;
    const std::string noAirCollision = "Be aware, no collision avoidance with user aircraft in the air";
    using Request = const std::atomic<bool>*;
    struct Step {
        const Parameter* parameter; ///< null = a button
        const Control& control;
        std::string expected, stored, box, status;
        Request request = nullptr;
        std::function<void(TestWindow&)> play{};
        std::function<std::string()> value = [] { return std::string(); };
    };
    const auto tick = [](BoolBox& box, bool on, std::string status, Request request = nullptr) {
        const std::string value = on ? "true" : "false";
        Step step{&box, box, value, value, on ? "x" : "", status, request};
        step.play = [&box, on](TestWindow& w) { w.tick(box, on); };
        step.value = [&box] { return std::string(box ? "true" : "false"); };
        return step;
    };
    const auto enter = [](auto& box, const char* typed, std::string value, std::string shown, std::string status,
                          Request request = nullptr) {
        const Parameter* const unsaved[] = {&parking_percentage, &MAX_FIT_FL, &CALLSIGN_2_OBJECTID};
        Step step{&box, box, value, std::ranges::count(unsaved, &box) != 0 ? "" : value, shown, status, request};
        step.play = [&box, typed](TestWindow& w) { w.enter(box, typed); };
        step.value = [&box] {
            if constexpr (requires { box.get(); })
                return box.get();
            else
                return fmt::format("{}", box.value.load());
        };
        return step;
    };
    const auto press = [](const Button& button, std::string status, Request request = nullptr) {
        Step step{nullptr, button, "", "", "", status, request};
        step.play = [&button](TestWindow& w) { w.press(button); };
        return step;
    };
    const Step steps[] = {
        tick(LOG, false, ""),
        tick(COLLISION_USER_AIR, false, noAirCollision),
        tick(ALWAYS_ON_TOP, true, "Kestrelune's window will remain visible"),
        tick(WEEK, true, "Kestrelune will respond in 13 seconds ...", &r.parkAdjust),
        enter(MAX_LIVE, " +12 or so", "12", "12", "The new MAX_LIVE is 12", &r.maxLive),
        enter(MAX_LIVE, "", "-1", "-1", "The new MAX_LIVE is -1", &r.maxLive),
        enter(AIRPORT_RANGE, "1000", "30", "30", "The new AIRPORT_RANGE is 30"),
        enter(AIRPORT_RANGE, "3x", "8", "8", "The new AIRPORT_RANGE is 8"),
        enter(AIRPORT_RANGE, "x", "8", "8", "invalid input: x"),
        enter(AIRPORT_RANGE, "8", "8", "8", "Same AIRPORT_RANGE value 8, no changes made"),
        enter(MATCHING_DEPTH, "2", "2", "2", "The new MATCHING_DEPTH is 2"),
        enter(MATCHING_DEPTH, "3", "3", "3", "The new MATCHING_DEPTH is 3", &r.clearNoMatch),
        enter(parking_percentage, "", "0", "0", "The new parking_percentage is 0"),
        enter(MAX_FIT_FL, "3.25", "3.25", "3.2", "The new MAX_FIT_FL is 3.2"),
        enter(MAX_FIT_FL, "3.25", "3.25", "3.2", "Same MAX_FIT_FL value 3.25, no changes made"),
        enter(MAX_FIT_FL, "nan", "3.25", "3.2", "invalid input: nan"),
        enter(MAX_FIT_FL, "99", "24", "24.0", "The new MAX_FIT_FL is 24.0"),
        enter(BLOCK_CALLSIGN, "dlh4ab", "DLH4AB", "DLH4AB", "live aircraft with callsign \"DLH4AB\" will be blocked",
              &r.blockNow),
        enter(BLOCK_CALLSIGN, "DLH4AB", "DLH4AB", "DLH4AB", "callsign \"DLH4AB\" was already set ..."),
        enter(BLOCK_CALLSIGN, "abc", "DLH4AB", "abc", "callsign \"abc\" is not valid"),
        enter(BLOCK_CALLSIGN, "\u00e4\u00f6", "DLH4AB", "\u00e4\u00f6", "callsign \"\u00e4\u00f6\" is not valid"),
        enter(BLOCK_CALLSIGN, "", "", "", "no more blocking of live aircraft \"DLH4AB\""),
        enter(DESTINATION, "eddm", "EDDM", "EDDM", "New destination: EDDM"),
        enter(DESTINATION, "EDDX", "EDDM", "EDDX", "destination \"EDDX\" is unknown ..."),
        enter(DESTINATION, "\u00c4\u00d6", "EDDM", "\u00c4\u00d6", "destination \"\u00c4\u00d6\" is not valid"),
        enter(DESTINATION, "", "", "", "destination set to empty"),
        enter(ALL_INSTALL_PATH, "no such", "", "no such", "This install path does not exist: no such"),
        enter(ALL_INSTALL_PATH, "docs", "", "docs", "This path exists but is not a path to Community ..."),
        enter(CALLSIGN_2_OBJECTID, "DLH4AB", "DLH4AB", "DLH4AB", "", &r.findCallsign),
        press(unblock, "Nothing to block or unblock..."),
        press(reRead, "", &r.reRead),
        press(flushStatic, "All static parked aircraft will be removed ...", &r.flushStatic),
    };
    enableControls(true);
    bool everBlocked = false;
    for (const Step& step : steps) {
        const std::string name(step.parameter == nullptr ? "button" : step.parameter->name);
        const std::string about = name + ": " + step.status;
        resetWindow();
        secondCounter = 2;
        const std::string valueBefore = step.value(), fileBefore = readFile(program.parameters);
        step.play(window);
        EXPECT_EQ(step.value(), valueBefore) << about << " waits for the worker";
        EXPECT_EQ(readFile(program.parameters), fileBefore) << about;
        EXPECT_TRUE(requests().empty()) << about;
        EXPECT_EQ(window.shown().topmost, bool(ALWAYS_ON_TOP) || &step.control == &ALWAYS_ON_TOP) << "at once";
        applyControlChanges();
        EXPECT_EQ(window.enabled(unblock), !BLOCK_CALLSIGN.empty() || !everBlocked) << about;
        everBlocked |= !BLOCK_CALLSIGN.empty();
        EXPECT_EQ(step.value(), step.expected) << about;
        EXPECT_EQ(program.stored(name), step.stored) << about;
        EXPECT_EQ(window.box(step.control), step.box) << about;
        EXPECT_EQ(statusText(), step.status);
        EXPECT_EQ(requests(), step.request == nullptr ? std::vector<const std::atomic<bool>*>()
                                                      : std::vector<const std::atomic<bool>*>{step.request})
            << about;
    }
    EXPECT_EQ(std::tuple(window.enabled(reRead), window.enabled(flushStatic), stopWanted()),
              std::tuple(false, false, false));
}

TEST_F(ControlRulesTest, TheRangeFollowsItsBoxes) {
    window.enter(par::LATERAL_RANGE, "77");
    ASSERT_TRUE(world::virtualTick()) << "a tick takes it";
    EXPECT_EQ(rangeNm, 77);
    for (const bool automatic : {true, false}) {
        window.tick(par::AUTO_RANGE, automatic);
        ASSERT_TRUE(world::virtualTick());
        EXPECT_EQ(window.enabled(par::LATERAL_RANGE), !automatic);
        EXPECT_EQ(window.enabled(par::AUTO_RANGE_ABOVE_HEIGHT), automatic);
        EXPECT_EQ(rangeNm, static_cast<float>(par::LATERAL_RANGE));
        EXPECT_EQ(window.box(par::LATERAL_RANGE), std::to_string(par::LATERAL_RANGE));
    }
    EXPECT_EQ(par::LATERAL_RANGE, 77) << "back to the range of the last switch";
}

TEST_F(ControlRulesTest, WhatNeedsANewStartEndsTheRunAtOnce) {
    const std::string community = (program.folder / "Community").string();
    std::filesystem::create_directories(community);
    struct Case {
        std::function<void(TestWindow&)> play;
        bool realTrafficWaits;
        std::int32_t delay; ///< -1 = the run goes on
        std::string status;
        bool listStays, newSettings;
    };
    const Case cases[] = {
        {[](TestWindow& w) { w.tick(par::MSFS_2020, false); }, false, 3, "Switching Simulator to MSFS 2024", false,
         true},
        {[&](TestWindow& w) { w.enter(par::ALL_INSTALL_PATH, community); }, false, 3,
         "Community path found, Kestrelune will restart ...", true, true},
        {[&](TestWindow& w) { w.enter(par::ALL_INSTALL_PATH, community + '/'); }, false, 3,
         "Community path found, Kestrelune will restart ...", true, true},
        {[](TestWindow& w) { w.tick(par::SCAN_LIVERIES, true); }, true, 2, "Your liveries will be scanned", true,
         false},
        {[](TestWindow& w) { w.tick(par::SCAN_LIVERIES, true); }, false, -1,
         "Your liveries will be scanned at the next start of Kestrelune, recommended after you have add/removed AI "
         "aircraft models/liveries",
         true, false},
        {[](TestWindow& w) { w.tick(par::SCAN_AIRPORTS, true); }, true, 2, "Your airports will be scanned", true,
         false},
        {[](TestWindow& w) { w.tick(par::SCAN_AIRPORTS, false); }, true, -1, "", true, false},
    };
    for (const Case& c : cases) {
        resetRunFlags();
        resetWindow();
        program.writeParameters("");
        readParameters();
        rtWaitPending = c.realTrafficWaits;
        c.play(window);
        EXPECT_EQ(exitRequested, c.delay >= 0) << c.status;
        EXPECT_EQ(exitReason(), c.delay >= 0 ? ExitReason::newSettings : ExitReason::notYetSet) << c.status;
        EXPECT_EQ(restartDelay(), std::max(c.delay, 0)) << c.status;
        EXPECT_EQ(windowRequests.newSettings, c.newSettings) << c.status;
        applyControlChanges();
        EXPECT_EQ(statusText(), c.status);
        EXPECT_EQ(std::filesystem::exists(path::liveriesScanned), c.listStays) << c.status;
        if (!c.listStays) {
            EXPECT_EQ(program.stored("MSFS_2020") + program.stored("SCAN_LIVERIES") + program.stored("SCAN_AIRPORTS"),
                      "falsetruetrue");
            EXPECT_EQ(window.box(par::SCAN_LIVERIES) + window.box(par::SCAN_AIRPORTS), "xx");
            FlightFolder::writeLiveries({{"DLH", "A320", "Test A320 DLH"}});
        }
    }
    program.writeParameters("");
    readParameters();
    window.enter(par::ALL_INSTALL_PATH, community);
    applyControlChanges();
    EXPECT_EQ(program.stored("MSFS_INSTALL_PATH"), community);
}

TEST_F(ControlRulesTest, ARunBeginsWithTheControlsThatMakeSense) {
    for (const bool on : {true, false}) {
        par::LIG_AUTOMATIC.value = par::AUTO_RANGE.value = on;
        enableForRun();
        EXPECT_EQ(window.enabled(par::AI_PACKAGE_ORDER), on);
        EXPECT_EQ(window.enabled(par::AUTO_RANGE_ABOVE_HEIGHT), on);
        EXPECT_EQ(window.enabled(par::LATERAL_RANGE), !on);
        EXPECT_TRUE(window.enabled(par::MAX_LIVE));
        for (const Control* later :
             std::initializer_list<const Control*>{&par::reRead, &par::flushStatic, &par::CALLSIGN_2_OBJECTID})
            EXPECT_FALSE(window.enabled(*later));
    }
}

TEST_F(ControlRulesTest, ANewStartReadsWhatTheUserHasJustSet) {
    dataBaseRead = true;
    setRunSleepScale(0.02);
    window.enter(par::MAX_LIVE, "12");
    rtWaitPending = true;
    window.tick(par::SCAN_LIVERIES, true);
    EXPECT_EQ(program.stored("MAX_LIVE"), "-1");
    startUp();
    EXPECT_EQ(par::MAX_LIVE, 12);
    EXPECT_EQ(program.stored("MAX_LIVE"), "12");
    EXPECT_TRUE(par::SCAN_LIVERIES);
    EXPECT_EQ(window.box(par::MAX_LIVE), "12");
    EXPECT_EQ(liveryCount(), 0u) << "the tables are built anew";
    setRunSleepScale(1);
    dataBaseRead = false;
}

} // namespace
} // namespace kes::test
