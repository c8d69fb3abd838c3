// SPDX-License-Identifier: MIT
#include "support.h"
#include "world/runner/overspeed.h"
#include "world/runner/process.h"

#include <csignal>
#include <fmt/format.h>
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
    const test::TempFolder folder;
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
