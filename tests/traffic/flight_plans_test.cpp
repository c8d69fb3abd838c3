// Flight plan files: what is in them, when they come and go.
#include "core/folders.h"
#include "traffic/flight_plans.h"
#include "traffic/harness.h"

namespace kes {
namespace {

struct FlightPlansTest : test::TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        par::MSFS_2020.value = false; // there is no simulator to take a plan
        prepareFlightPlanFolders();
    }
    LiveAircraft& flight(const char* model, const char* orig, const char* dest) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(test::firstHex, {air(0, 1 << 28), air(1, 1 << 29)}, model);
        a.orig = orig;
        a.dest = dest;
        a.objectid = 4711;
        return a;
    }
    static std::filesystem::path file() { return flightPlanFolder() / "4711.pln"; }
};

TEST_F(FlightPlansTest, OnlyARouteWithBothEndsMakesAPlan) {
    struct Case {
        const char *model, *orig, *dest, *rules; ///< null = no file
    };
    for (const Case& c :
         {Case{"A320", "EDDF", "LHR", "IFR"}, Case{"B77W", "XXXX", "?", "IFR"}, Case{"C25A", "EDDF", "LHR", "IFR"},
          Case{"C172", "EDDF", "LHR", "VFR"}, Case{"F16", "EDDF", "LHR", "VFR"}, Case{"EC35", "EDDF", "LHR", "VFR"},
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
                      std::string(c.rules) + "</FPType>\n<DepartureID>" + c.orig + "</DepartureID>\n<DestinationID>" +
                      c.dest + "</DestinationID>\n</FlightPlan.FlightPlan>\n</SimBase.Document>\n";
        EXPECT_EQ(test::readFile(file()), expected) << c.model;
    }
    EXPECT_FALSE(program.logHas("creating a flight plan failed"));
}

TEST_F(FlightPlansTest, AFolderThatCannotBeWrittenCostsThePlanAlone) {
    gf_removeFlightPlanFolder();
    std::ofstream(flightPlanFolder()) << "in the way";
    LiveAircraft& a = flight("A320", "EDDF", "LHR");
    writeFlightPlan(a);
    EXPECT_FALSE(a.flightPlanSet);
    EXPECT_TRUE(program.logHas("A320 creating a flight plan failed"));
    std::filesystem::remove(flightPlanFolder());
}

TEST_F(FlightPlansTest, AFileGoesWithItsObjectButNotForARespawn) {
    for (const bool respawn : {false, true}) {
        writeFlightPlan(flight("A320", "EDDF", "LHR"));
        if (respawn)
            liveryRespawn(liveAircraft[0]);
        else
            removeAircraftFromSim(liveAircraft[0]);
        addSimReply(reply(ReplyKind::removed, 4711, 0));
        applySimReplies();
        EXPECT_EQ(std::filesystem::exists(file()), respawn);
    }
    gf_removeFlightPlanFolder();
    EXPECT_FALSE(std::filesystem::exists(flightPlanFolder()));
    gf_removeFlightPlanFolder();
    EXPECT_FALSE(program.logHas("gf_removeFlightPlanFolder"));
}

} // namespace
} // namespace kes
