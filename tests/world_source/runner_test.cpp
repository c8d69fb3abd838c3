// SPDX-License-Identifier: MIT
#include "support.h"
#include "world/runner/options.h"
#include "world/runner/overspeed.h"
#include "world/runner/plan.h"
#include "world/runner/process.h"
#include "world/source/scenario.h"
#include "world_source/source_test_files.h"

#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

using namespace kes;
using namespace kes::runner;

namespace {

ChildSpec shell(const std::string& script) {
    return {"sh", "/bin/sh", {"-c", script}, {}, {}, {}, false};
}

/// The orphan may stay a zombie where nobody collects it; it must at least be dead.
bool dies(const std::string& pid) {
    return test::waitFor([&] {
        const std::string status = test::readFile("/proc/" + pid + "/stat");
        return status.empty() || status.find(") Z") != std::string::npos;
    });
}

} // namespace

TEST(RunnerChild, OutputEnvironmentFolderAndCode) {
    const SourceFolder folder;
    Child child;
    ChildSpec spec = shell("echo \"port $NUMBER$GONE\"; pwd; echo bad >&2; exit 7");
    ::setenv("GONE", "still", 1);
    spec.environment = {{"NUMBER", "42"}, {"GONE", std::nullopt}};
    spec.directory = folder.path;
    spec.outputFile = folder.path / "out.txt";
    std::string error;
    ASSERT_TRUE(child.start(spec, error)) << error;
    EXPECT_EQ(child.waitForLine("port ", 5000), "42");
    EXPECT_TRUE(child.waitForEnd(5000));
    EXPECT_EQ(child.exitCode(), 7);
    EXPECT_EQ(test::readFile(folder.path / "out.txt"), "port 42\n" + folder.path.string() + "\nbad\n");
    EXPECT_EQ(child.waitForLine("none ", 100), std::nullopt);
}

TEST(RunnerChild, WhatCannotStartSaysSo) {
    Child missing, folder;
    std::string error;
    EXPECT_FALSE(missing.start({"x", "/nowhere/at/all", {}, {}, {}, {}, false}, error));
    EXPECT_NE(error.find("/nowhere/at/all"), std::string::npos);
    ChildSpec spec = shell("true");
    spec.directory = "/nowhere/at/all";
    error.clear();
    EXPECT_FALSE(folder.start(spec, error));
    EXPECT_NE(error, "");
}

TEST(RunnerChild, EndsByItselfOrIsKilledWithItsGroup) {
    Child polite, stubborn;
    std::string error;
    ASSERT_TRUE(polite.start(shell("trap 'echo bye; exit 0' TERM; echo up; while :; do sleep 0.02; done"), error));
    ASSERT_TRUE(polite.waitForLine("up", 5000));
    polite.askToEnd();
    EXPECT_TRUE(polite.waitForEnd(5000));
    EXPECT_EQ(polite.exitCode(), 0);
    EXPECT_NE(polite.lastLines().find("bye"), std::string::npos);

    ASSERT_TRUE(stubborn.start(shell("trap '' TERM; sleep 600 & echo \"pid $!\"; wait; sleep 600"), error));
    const auto grandchild = stubborn.waitForLine("pid ", 5000);
    ASSERT_TRUE(grandchild);
    stubborn.askToEnd();
    EXPECT_FALSE(stubborn.waitForEnd(200));
    EXPECT_EQ(stubborn.exitCode(), 128 + SIGKILL);
    EXPECT_TRUE(dies(*grandchild));
}

TEST(RunnerChild, DoesNotOutliveItsRunner) {
    const SourceFolder folder;
    const std::string file = (folder.path / "pid").string();
    const pid_t runner = ::fork();
    if (runner == 0) {
        Child child;
        std::string error;
        child.start(shell(fmt::format("echo $$ > {0}.new; mv {0}.new {0}; exec sleep 600", file)), error);
        ::pause();
        ::_exit(0);
    }
    ASSERT_TRUE(test::waitFor([&] { return std::filesystem::exists(folder.path / "pid"); }));
    const int pid = std::stoi(test::readFile(folder.path / "pid"));
    ASSERT_EQ(::kill(pid, 0), 0) << "alive";
    ::kill(runner, SIGKILL);
    ::waitpid(runner, nullptr, 0);
    EXPECT_TRUE(dies(std::to_string(pid)));
}

TEST(RunnerPlan, AirportsFromTheTable) {
    const SourceFolder folder;
    folder.write("a.csv", "icao,iata,lat,lon,elev_ft,name\nEDDM,MUC,48.3538,11.7861,1487,Munich\n"
                          "XXXX,,north,1,2,Broken\nEDDN,NUE,49.4987,11.0781,1046,\"Nuremberg, Albrecht\"\r\nshort\n");
    const auto airports = readAirports(folder.path / "a.csv");
    ASSERT_EQ(airports.size(), 2U);
    EXPECT_EQ(airports[1].icao, "EDDN");
    EXPECT_EQ(airports[1].elevation, 1046);
    EXPECT_EQ(nearestAirport(airports, {49.0, 11.1}, 100)->icao, "EDDN");
    EXPECT_EQ(nearestAirport(airports, {49.0, 11.1}, 5), nullptr);
    EXPECT_TRUE(readAirports(folder.path / "none.csv").empty());
}

TEST(RunnerPlan, PutsTheUserWhereTheTrafficIs) {
    const SourceFolder folder;
    const std::vector<Airport> table{{"EDDM", source::munichPosition, 1487}, {"YSSY", {-33.946, 151.177}, 21}};
    RunPlan plan;
    std::string error;
    RunOptions o;
    ASSERT_TRUE(makePlan(o, table, plan, error));
    EXPECT_NEAR(distanceNm(plan.user.place, source::munichPosition), 12, 0.1);
    EXPECT_NEAR(plan.user.altitude, 6487, 1);
    EXPECT_FALSE(plan.scenarioAirport);
    ASSERT_EQ(plan.airfields.size(), 1U);

    o.at = UserStart{{-33.8, 151.2}, 3000, 0};
    ASSERT_TRUE(makePlan(o, table, plan, error));
    ASSERT_TRUE(plan.scenarioAirport);
    EXPECT_EQ(plan.scenarioAirport->icao, "YSSY");

    o.at->place = {0.5, -30}; // no airport far and wide
    ASSERT_TRUE(makePlan(o, table, plan, error));
    EXPECT_EQ(plan.scenarioAirport->place.lon, -30);
    EXPECT_EQ(plan.airfields.size(), 1U) << "the scenario's own flat ground";

    o = {};
    folder.write("lebl.txt", feedLine(20001, 1, 41.297, 2.08, 0) + "\n" + feedLine(20002, 2, 42.5, 3, 20000) + "\n");
    o.feed = (folder.path / "lebl.txt").string();
    ASSERT_TRUE(makePlan(o, table, plan, error)); // an airport that the table lacks
    EXPECT_NEAR(distanceNm(plan.user.place, {41.2971, 2.0785}), 12, 0.2);
    EXPECT_NEAR(plan.user.altitude, 5012, 1);
    EXPECT_FALSE(plan.scenarioAirport);

    folder.write("high.txt", feedLine(20001, 1, 47.0, 8.0, 36000) + "\n");
    o.feed = (folder.path / "high.txt").string();
    ASSERT_TRUE(makePlan(o, table, plan, error));
    EXPECT_EQ(plan.user.place.lat, 47.0);
    EXPECT_GT(plan.user.altitude, 19000) << "high enough for the wide range";

    folder.write("bad.txt", "nothing here\n");
    o.feed = (folder.path / "bad.txt").string();
    EXPECT_FALSE(makePlan(o, table, plan, error));
    EXPECT_NE(error.find("bad.txt"), std::string::npos);
}

TEST(RunnerPlan, CommandLine) {
    const auto read = [](const std::vector<std::string>& words, RunOptions& o) {
        const auto ending = readOptions(words, o);
        return !ending || ending->code == 0;
    };
    RunOptions o;
    EXPECT_TRUE(read({"--build", "a", "--build", "b", "--source", "--no-burst"}, o));
    EXPECT_EQ(o.build, "b") << "the last one counts: ./run gives one of its own before the user's";
    EXPECT_EQ(o.sourceArguments, std::vector<std::string>{"--no-burst"});
    o = {};
    EXPECT_TRUE(
        read({"--minutes", "2.5", "--at", "48,11.5,6000,90", "--no-window", "--source", "--seed 4  --qnh 991"}, o));
    EXPECT_EQ(o.minutes, 2.5);
    EXPECT_EQ(o.at->heading, 90);
    EXPECT_TRUE(o.noWindow);
    EXPECT_EQ(o.sourceArguments, (std::vector<std::string>{"--seed", "4", "--qnh", "991"}));
    for (const char* bad :
         {"--minutes", "--minutes 0", "--minutes x", "--at 48,11", "--at 48,11,nan", "--msfs 2030", "--what"}) {
        RunOptions p;
        EXPECT_FALSE(read(test::words(bad), p)) << bad;
    }
}

TEST(RunnerPlan, OverspeedComparesWhatWasShownWithWhatWasReportedBefore) {
    struct Case {
        const char *name, *reported, *shown;
        double largest;
        int dashing, compared;
    };
    for (const Case& c : std::initializer_list<Case>{
             {"as reported", R"({"A":{"100":250,"101":240}})", R"({"A":{"103":250,"104":240}})", 1, 0, 1},
             {"a dash", R"({"A":{"100":250},"B":{"100":200}})", R"({"A":{"103":300},"B":{"103":500}})", 2.5, 1, 2},
             {"slow then, fast later", R"({"A":{"100":40,"104":150}})", R"({"A":{"103":100}})", 2.5, 1, 1},
             {"fast long before", R"({"A":{"10":400,"100":40}})", R"({"A":{"103":100}})", 2.5, 1, 1},
             {"no report for long", R"({"A":{"10":400}})", R"({"A":{"103":400}})", 1, 0, 1},
             {"slow ones are noise", R"({"A":{"100":1}})", R"({"A":{"103":25}})", 1.25, 0, 1},
             {"nobody known", R"({"A":{"100":250}})", R"({"B":{"103":999}})", 0, 0, 0},
             {"not as it should be", R"({"A":{"x":250,"100":"y"}})", R"({"A":[1]})", 0, 0, 1}}) {
        SCOPED_TRACE(c.name);
        const auto r = overspeed(nlohmann::json::parse(c.reported), nlohmann::json::parse(c.shown));
        EXPECT_DOUBLE_EQ(r["largest"].get<double>(), c.largest);
        EXPECT_EQ(r["objectsAbove1.5"], c.dashing);
        EXPECT_EQ(r["objectsCompared"], c.compared);
    }
}

TEST(RunnerPlan, ReportJoinsBothSides) {
    const auto source = nlohmann::json::parse(R"({"reportsSent":12,"linesByKind":{"Qs121":3},"weatherSent":1})");
    const auto simulator = nlohmann::json::parse(R"({"objectsCreated":5,"peakObjects":4,"largestGapMs":41.5})");
    auto r = runReport(source, simulator, 0, {}, {{"stands", 5}});
    EXPECT_EQ(r["parking"]["stands"], 5);
    EXPECT_EQ(r["reportsSent"], 12);
    EXPECT_EQ(r["controlLines"]["Qs121"], 3);
    EXPECT_EQ(r["objectsCreated"], 5);
    EXPECT_EQ(r["largestGapMs"], 41.5);
    EXPECT_TRUE(r["positionRecords"].is_null()) << "a count that nobody gave is not zero";
    EXPECT_EQ(r["exitCode"], 0);
    EXPECT_FALSE(r.contains("problems"));
    EXPECT_FALSE(r.contains("overspeed"));
    r = runReport({{"speeds", {{"A", {{"100", 100}}}}}}, {{"speeds", {{"A", {{"103", 120}}}}}}, 0, {}, {});
    EXPECT_EQ(r["overspeed"]["largest"], 1.2);
    EXPECT_EQ(r["overspeed"]["callsign"], "A");
    r = runReport(nullptr, nullptr, std::nullopt, {"it broke"}, {});
    EXPECT_TRUE(r["exitCode"].is_null());
    EXPECT_EQ(r["problems"][0], "it broke");
}
