// SPDX-License-Identifier: MIT
// The list of park airports, its file, and the user's stand.
#include "airport_harness.h"
#include "airports/user_stand.h"
#include "read_only_folder.h"

#include <tuple>

namespace kes::test {
namespace {

struct ParkAirportsTest : AirportTest {
    static std::string list() {
        std::string text;
        for (const ParkAirportEntry& entry : parkAirportList)
            text += entry.code + (entry.stand.empty() ? "" : "," + entry.stand) + " ";
        return text;
    }
    static std::string file() { return readFile(path::myParkAirports); }
    static void loaded(const char* code = "EDDF") {
        setAirportRef(AirportRef{code, "", field.lat, field.lon, 0});
        stands.clear();
        for (int n = 0; n < 3; ++n)
            addStand(200.0 * n);
        forgetNearestStand();
    }
};

TEST_F(ParkAirportsTest, EachLineCountsForItself) {
    const struct {
        const char* name;
        const char* text; ///< null = no file
        bool ok;
        const char *list, *line;
    } rows[] = {
        {"no file", nullptr, true, "", "airports/my_park_airports.txt not found\n"},
        {"empty", "", true, "", ""},
        {"one and two fields", "EDDF\n\nEGLL,A12\n", true, "EDDF EGLL,A12 ",
         "2 park airports read from \"my_park_airports.txt\""},
        {"from another editor", "\xEF\xBB\xBF EDDF , A 1\r\n,\r\n", true, "EDDF,A 1 ", "1 park airport read from"},
        {"three fields", "EDDF,A,B\nEGLL\n", true, "EGLL ", "===> my_park_airports.txt:EDDF,A,B wrong syntax, skipped"},
        {"unknown", "XXXX,A\nEGLL\n", false, "EGLL ", "airport XXXX is unknown"},
        {"double", "EDDF,A\nEDDF,B\n", true, "EDDF,A ", "===> my_park_airports.txt:EDDF,B double, skipped"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(path::myParkAirports);
        if (row.text != nullptr)
            write(path::myParkAirports, row.text);
        EXPECT_EQ(lf_readMyParkAirports(), row.ok) << row.name;
        EXPECT_EQ(list(), row.list) << row.name;
        EXPECT_TRUE(program.logHas(row.line)) << row.name << program.logText();
    }
    write(path::myThirdparty / "EDFE.xml", "");
    write(path::myThirdparty / "EDDF.txt", "");
    write(path::myThirdparty / "NONE.xml", "");
    std::filesystem::create_directories(path::myThirdparty / "EGLL.xml");
    write(path::myParkAirports, "EDDF,A\n");
    EXPECT_TRUE(lf_readMyParkAirports());
    EXPECT_EQ(list(), "EDDF,A EDFE ");
    EXPECT_TRUE(program.logHas("1 park airport added from my_thirdparty folder(-s) "));
}

TEST_F(ParkAirportsTest, ManyAirportsAreWarnedOf) {
    airportTable.clear();
    std::string text;
    for (int n = 0; n < 3000; ++n) {
        airportTable.push_back({fmt::format("{:04}", n), "", 0.01 * n, 0, 0});
        text += airportTable.back().code + "\n";
    }
    airportTable.push_back({"9999", "", 1, 1, 0});
    write(path::myParkAirports, text);
    lf_readMyParkAirports();
    EXPECT_FALSE(statusText().starts_with("Warning"));
    write(path::myParkAirports, text + "9999\n");
    lf_readMyParkAirports();
    EXPECT_EQ(statusText(), "Warning: There are a lot of airports (3001) in my_park_airports.txt, that will cost KLUN "
                            "much cpu time, and may give stutters");
}

TEST_F(ParkAirportsTest, TheUsersStandIsStored) {
    const struct {
        const char* name;
        const char* before; ///< null = no file
        const char *stand, *after, *line;
    } rows[] = {
        {"no file", nullptr, "A1", "EDDF,A1\n", "my_park_airports.txt created with EDDF,A1"},
        {"no file, no stand", nullptr, "", "EDDF\n", "my_park_airports.txt created with EDDF\n"},
        {"another stand", "EDDH,C3\nEDDF,A1\nEDDF,A2\n", "B2", "EDDF,A2\nEDDF,B2\nEDDH,C3\n",
         "my_park_airports.txt:EDDF,B2 updated stand"},
        {"new", "LOWW\nwhat, is, this\nEGLL\nEGLL\n", "B2", "EDDF,B2\nEGLL\nLOWW\nwhat, is, this\n",
         "my_park_airports.txt:EDDF,B2 new entry"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(path::myParkAirports);
        if (row.before != nullptr)
            write(path::myParkAirports, row.before);
        parkAirportList.assign(1, {"EDDF", row.stand});
        storeUserStand();
        EXPECT_EQ(file(), row.after) << row.name;
        EXPECT_TRUE(program.logHas(row.line)) << row.name;
    }
}

TEST_F(ParkAirportsTest, AFailedWriteLeavesTheOldFile) {
    parkAirportList.assign(1, {"EDDF", "A1"});
    const auto told = [] {
        const bool isTold = statusText().starts_with("airports/my_park_airports.txt could not be written: ");
        clearStatus();
        return isTold;
    };
    write(path::myParkAirports, "EDDF,OLD\n");
    {
        const ReadOnlyFolder folder("airports");
        storeUserStand();
    }
    EXPECT_TRUE(told());
    EXPECT_EQ(file(), "EDDF,OLD\n");
    std::filesystem::remove(path::myParkAirports);
    std::filesystem::create_directories(path::myParkAirports / "old");
    storeUserStand();
    EXPECT_TRUE(told()) << "what cannot be read is not written over";
    EXPECT_TRUE(std::filesystem::exists(path::myParkAirports / "old"));
}

TEST_F(ParkAirportsTest, TheNextAirportStandsFirst) {
    write(path::myParkAirports, "EDDF\nEDFE\nEGLL\n");
    lf_readMyParkAirports();
    EXPECT_EQ(nearestCandidateNm({52.0, -0.4614}), distanceNm({52.0, -0.4614}, field)) << "the first of the list";
    refreshDistances({51.0, -0.5});
    EXPECT_EQ(list(), "EGLL EDFE EDDF ");
    parkAirportList.back().distance = 5;
    refreshDistances({51.0, -0.5});
    EXPECT_EQ(parkAirportList.back().distance, 5) << "the user has not moved";
    refreshDistances({field.lat + 3.0 / 60, field.lon});
    EXPECT_EQ(list(), "EDFE EDDF EGLL ");
    EXPECT_NEAR(parkAirportList.front().distance, 1, 1e-6);

    par::DESTINATION.set("EGLL");
    setDestinationEntry("EGLL", {51.4775, -0.4614});
    refreshDistances({field.lat, field.lon});
    EXPECT_EQ(list(), "EGLL EDFE EDDF ") << "whatever is near";
    EXPECT_NEAR(parkAirportList.front().distance, distanceNm(field, {51.4775, -0.4614}), 1e-9);
    EXPECT_EQ(file(), "EDDF\nEDFE\nEGLL\n") << "known ones are not stored again";
    setDestinationEntry("LOWW", {48.11, 16.57});
    EXPECT_EQ(list(), "LOWW EGLL EDFE EDDF ");
    EXPECT_EQ(file(), "EDDF\nEDFE\nEGLL\nLOWW\n");
    par::DESTINATION.set("");
    forgetOrder();
    refreshDistances({field.lat, field.lon});
    EXPECT_EQ(list(), "EDDF EDFE EGLL LOWW ");
    parkAirportList.clear();
    EXPECT_EQ(nearestCandidateNm(field), 10000);
}

TEST_F(ParkAirportsTest, ALoadLearnsAndReserves) {
    const struct {
        const char* name;
        const char* file;
        double north; ///< metres
        bool known;
        const char *list, *reserved, *stored;
    } rows[] = {
        {"stored, and the user is away", "EDDF,S3\n", 600, true, "EDDF,S3 ", "S3", "EDDF,S3\n"},
        {"stored, and the user stands elsewhere", "EDDF,S3\n", 0, true, "EDDF,S1 ", "S1", "EDDF,S1\n"},
        {"no stand of this list", "EDDF,OLD\n", 600, true, "EDDF,OLD ", "", "EDDF,OLD\n"},
        {"not the first", "EGLL\nEDDF,S3\n", 600, true, "EDDF,S3 EGLL ", "S3", "EDDF,S3\nEGLL\n"},
        {"not in the list", "EGLL\n", 200, true, "EDDF,S2 EGLL ", "S2", "EDDF,S2\nEGLL\n"},
        {"an empty list", "", 600, true, "EDDF ", "", "EDDF\n"},
        {"no user", "EGLL\n", 0, false, "EGLL ", "", "EGLL\n"},
    };
    for (const auto& row : rows) {
        resetAll();
        write(path::myParkAirports, row.file);
        lf_readMyParkAirports();
        loaded();
        setUser(row.known ? LatLon{field.lat + row.north * metre, field.lon} : LatLon{0, 0}, true);
        reserveAtLoad();
        EXPECT_EQ(list(), row.list) << row.name;
        EXPECT_EQ(reservedStand, row.reserved) << row.name;
        EXPECT_EQ(readoutText(Readout::keptStand), row.reserved) << row.name;
        EXPECT_EQ(file(), row.stored) << row.name;
        clearPlan();
        markReserved();
        for (const Stand& stand : stands)
            EXPECT_EQ(stand.reserved, stand.id == row.reserved || (row.known && row.north == 0 && stand.id == "S1"))
                << row.name << stand.id;
    }
}

TEST_F(ParkAirportsTest, TheStandThatTheUserLeavesIsLearned) {
    loaded();
    parkAirportList = {{"EDDF", "S3"}, {"EGLL", ""}};
    setUser(field, true);
    const auto learn = [](double north, double knots) {
        UserAircraft user;
        user.lat = field.lat + north * metre;
        user.lon = field.lon;
        user.groundSpeed = knots;
        learnUserStand(user);
        return parkAirportList.front().stand;
    };
    reservedStand = "S3";
    EXPECT_EQ(learn(0, 2.1), "S3") << "rolling";
    EXPECT_EQ(learn(60, 0), "S3") << "beside";
    EXPECT_EQ(learn(0, 2.0), "S1");
    EXPECT_EQ(file(), "EDDF,S1\n");
    EXPECT_EQ(reservedStand, "S3") << "until the next load";
    clearPlan();
    markReserved();
    EXPECT_EQ(std::tuple(stands[0].reserved, stands[1].reserved, stands[2].reserved), std::tuple(true, false, true))
        << "the one in use, too";
    parkAirportList.front().code = "EGLL";
    EXPECT_EQ(learn(200, 0), "S1") << "not the park airport";
}

TEST_F(ParkAirportsTest, AReReadReservesAnew) {
    const char *const okay = "park airports and stands are okay", *const changes =
                                                                      "reserved stand changed from \"S1\" to \"S2\"";
    const auto nothing = [] {};
    const auto farAirport = [] { airportTable.insert(airportTable.begin(), AirportEntry{"AAAA", "", 10, 10, 0}); };
    const struct {
        const char *name, *file;
        std::function<void()> prepare;
        bool ok;
        const char* message;
    } rows[] = {
        {"another stand", "EDDF,S2\nEGLL\n", nothing, true, changes},
        {"the nearest airport counts, not the first line", "AAAA\nEDDF,S2\n", farAirport, true, changes},
        {"the same", "EDDF,S1\n", nothing, true, okay},
        {"none", "EDDF\n", nothing, true, okay},
        {"unknown stand", "EDDF,S9\n", nothing, true, "stand \"S9\" is unknown at EDDF"},
        {"while placing", "EDDF,S2\n", [] { startPlacing(); }, true, okay},
        {"an aircraft is looked up", "EDDF,S2\n", [] { setReadout(Readout::foundObject, "x"); }, true, okay},
        {"unknown airport", "EDDF,S2\nXXXX\n", nothing, false, ""},
        {"with a destination", "EGLL\nEDDF,S2\n", [] { par::DESTINATION.set("EGLL"); }, true, changes},
    };
    for (const auto& row : rows) {
        resetAll();
        setParameterDefaults();
        loaded();
        setUser({field.lat + 600 * metre, field.lon}, true);
        reservedStand = "S1";
        stands[0].reserved = true;
        addParked(2, "DLH1", {3, 1});
        live.assign(1, {.hexid = 0x400001, .sid = 2, .parked = true});
        liveRemoved.clear();
        write(path::myParkAirports, row.file);
        row.prepare();
        std::string message;
        EXPECT_EQ(reReadParkAirports(true, message), row.ok) << row.name;
        EXPECT_EQ(message, row.message) << row.name;
        const bool changed = row.message == changes;
        EXPECT_EQ(reservedStand, changed ? "S2" : "S1") << row.name;
        EXPECT_EQ(stands[0].reserved, !changed) << row.name;
        EXPECT_EQ(stands[1].reserved, changed) << row.name;
        EXPECT_EQ(parkedAircraft[0].st == AircraftStatus::removingfromsim, changed) << row.name;
        EXPECT_TRUE(liveRemoved.empty()) << "one aircraft goes";
    }
    userStandStep();
    EXPECT_TRUE(liveRemoved.empty());
    setUser(stands[1].position(), true);
    userStandStep();
    EXPECT_EQ(liveRemoved.size(), 1u) << "no static one is left there";
}

} // namespace
} // namespace kes::test
