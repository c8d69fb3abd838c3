// SPDX-License-Identifier: MIT
// Flight plan files: what is in them, when they come and go.
#include "thrown.h"
#include "traffic/flight_plans.h"
#include "traffic/harness.h"

namespace kes::test {
namespace {

struct FlightPlansTest : TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        par::MSFS_2020.value = false; // there is no simulator to take a plan
        prepareFlightPlanFolders();
    }
    LiveAircraft& flight(const char* model, const char* orig, const char* dest) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, 1 << 28), air(1, 1 << 29)}, model);
        a.orig = orig;
        a.dest = dest;
        a.objectid = 4711;
        return a;
    }
    static std::filesystem::path file(std::uint32_t objectid = 4711) {
        return flightPlanFolder() / (std::to_string(objectid) + ".pln");
    }
};

TEST_F(FlightPlansTest, OnlyARouteWithBothEndsMakesAPlan) {
    struct Case {
        const char *model, *orig, *dest, *rules; ///< null = no file
        std::string inFile = orig;               ///< the origin as it is written
    };
    for (const Case& c :
         {Case{"A320", "EDDF", "LHR", "IFR"}, Case{"B77W", "XXXX", "?", "IFR"}, Case{"C25A", "EDDF", "LHR", "IFR"},
          Case{"C172", "EDDF", "LHR", "VFR"}, Case{"F16", "EDDF", "LHR", "VFR"}, Case{"EC35", "EDDF", "LHR", "VFR"},
          Case{"A320", "]]><x>&\n\x1b\xff\"'&#60;", "{}", "IFR", "]]&gt;&lt;x&gt;&amp;\"'&amp;#60;"},
          Case{"A320", "", "LHR", nullptr}, Case{"A320", "EDDF", "", nullptr}, Case{"A320", "", "", nullptr}}) {
        std::filesystem::remove(file());
        LiveAircraft& a = flight(c.model, c.orig, c.dest);
        writeFlightPlan(a);
        EXPECT_EQ(a.flightPlanSet, c.rules != nullptr) << c.model << c.orig << c.dest;
        const std::string expected =
            c.rules == nullptr
                ? ""
                : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SimBase.Document Type=\"AceXML\" "
                  "version=\"4,3\">\n<FlightPlan.FlightPlan>\n<FPType>" +
                      std::string(c.rules) + "</FPType>\n<DepartureID>" + c.inFile + "</DepartureID>\n<DestinationID>" +
                      c.dest + "</DestinationID>\n</FlightPlan.FlightPlan>\n</SimBase.Document>\n";
        EXPECT_EQ(readFile(file()), expected) << c.model;
    }
    EXPECT_FALSE(program.logHas("creating a flight plan failed"));
}

TEST_F(FlightPlansTest, AFailureCostsThePlanAlone) {
    for (const bool fileInTheWay : {true, false}) {
        gf_removeFlightPlanFolder();
        if (fileInTheWay)
            std::ofstream(flightPlanFolder()) << "in the way";
        else
            prepareFlightPlanFolders();
        par::MSFS_2020.value = !fileInTheWay; // which is not connected
        LiveAircraft& a = flight("A320", "EDDF", "LHR");
        a.flightPlanSet = true; // of the object before
        writeFlightPlan(a);
        EXPECT_FALSE(a.flightPlanSet);
        EXPECT_EQ(std::filesystem::exists(file()), !fileInTheWay);
    }
    EXPECT_EQ(program.logCount("DLH304    DLH A320 creating a flight plan failed\n"), 2U);
}

TEST_F(FlightPlansTest, AFileGoesWithItsObjectButNotForARespawn) {
    for (const bool respawn : {false, true}) {
        writeFlightPlan(flight("A320", "EDDF", "LHR"));
        std::ofstream(file(4712)) << "of another object";
        if (respawn)
            liveryRespawn(liveAircraft[0]);
        else
            removeAircraftFromSim(liveAircraft[0]);
        addSimReply(reply(ReplyKind::removed, 4711, 0));
        applySimReplies();
        EXPECT_EQ(std::filesystem::exists(file()), respawn);
        EXPECT_TRUE(std::filesystem::exists(file(4712)));
    }
    gf_removeFlightPlanFolder();
    EXPECT_FALSE(std::filesystem::exists(flightPlanFolder()));
    gf_removeFlightPlanFolder();
    EXPECT_FALSE(program.logHas("gf_removeFlightPlanFolder"));
}

TEST_F(FlightPlansTest, TheFoldersComeAndWhatCannotBeDoneIsTold) {
    const auto told = [] { return thrownBy(prepareFlightPlanFolders); };
    std::filesystem::remove_all(userDataFolder());
    EXPECT_EQ(told(), "");
    EXPECT_EQ(told(), "") << "they are there already";
    EXPECT_TRUE(std::filesystem::is_directory(flightPlanFolder()));
    std::filesystem::remove(flightPlanFolder());
    std::filesystem::create_directory_symlink(flightPlanFolder(), flightPlanFolder()); // leads nowhere for ever
    EXPECT_NE(told().find(" exists: "), std::string::npos) << told();
    gf_removeFlightPlanFolder();
    EXPECT_TRUE(program.logHas("gf_removeFlightPlanFolder: filesystem error: "));
    EXPECT_TRUE(statusText().starts_with("gf_removeFlightPlanFolder: filesystem error: ")) << statusText();
    std::filesystem::remove(flightPlanFolder());
    setUserDataFolder(program.folder / "no" / "such");
    EXPECT_NE(told().find(" create_directory: "), std::string::npos) << told();
}

} // namespace
} // namespace kes::test
