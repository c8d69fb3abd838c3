// SPDX-License-Identifier: MIT
// What the builder makes, read back by the program's own readers.
#include "airports/airport_file.h"
#include "airports/airport_source.h"
#include "airports/park_airports.h"
#include "content_folder.h"
#include "core/geo.h"
#include "core/parameters_file.h"
#include "liveries/livery.h"
#include "liveries/scan.h"
#include "reference/reference_document.h"
#include "tools/csv/csv.h"
#include "world/content/ai_package.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

TEST(Content, ProgramReadsAllOfIt) {
    ContentFolder content;
    EXPECT_TRUE(readDataBase()) << content.logText();
    EXPECT_TRUE(readAirportTable());
    EXPECT_EQ(airportTable.size(), content.count.airports);
    EXPECT_FALSE(content.logHas("skipped")) << content.logText();
    EXPECT_EQ(referenceData().aircraftTypes.size(), content.count.types);
    EXPECT_EQ(referenceData().icaoAirlines.size(), content.count.airlines);
    EXPECT_EQ(dbaseSize(), content.count.registrations);
    EXPECT_GE(content.count.airports, 10000u);
    EXPECT_GE(content.count.registrations, 100u);
    EXPECT_TRUE(fs::is_directory("docs"));
    EXPECT_EQ(readFile("input/update_server.txt"), "updates\n");
    EXPECT_TRUE(fs::is_regular_file(content.plan.appData / "InsideSystems" / "RealTraffic.jar"));
}

TEST(Content, TheScenarioHasAnAirportToFill) {
    ContentFolder content;
    ASSERT_TRUE(readDataBase());
    ASSERT_TRUE(readAirportTable());
    content.plan.scenarioAirport = {"EDDM", {48.353783, 11.786086}, 1487};
    putFile(path::myParkAirports, "KLGA\n");
    world::makeContent(content.plan);
    EXPECT_EQ(readFile(path::myParkAirports), "KLGA\n") << "the user's own";
    fs::remove(path::myParkAirports);
    world::makeContent(content.plan);
    EXPECT_TRUE(lf_readMyParkAirports());
    EXPECT_NEAR(nearestCandidateNm({48.353783 + 1.0 / 60, 11.786086}), 1.0, 0.01);

    setAirportRef(AirportRef{"EDDM", "MUC", 48.353783, 11.786086, 0});
    EXPECT_EQ(gf_readApf(airportSource("EDDM"), parkAirportFile, qualityPair, stands), "") << content.logText();
    EXPECT_EQ(referenceElevation(), 1487);
    ASSERT_EQ(stands.size(), 52u);
    std::set<std::string> airframes;
    std::size_t used = 0;
    for (const Stand& stand : stands) {
        EXPECT_TRUE(stand.adjacent.empty()) << stand.id;
        if (stand.options.empty())
            continue;
        ++used;
        const ParkPosOption& o = stand.options[0];
        EXPECT_EQ(stand.options.size(), 7u) << "each day";
        EXPECT_EQ(std::tuple(modelExists(o.model), airlineExists(o.airline)), std::tuple(true, true))
            << o.airline << ' ' << o.model;
        EXPECT_TRUE(o.regcode.empty() || airframes.insert(o.regcode).second) << o.regcode << " stands twice";
    }
    EXPECT_EQ(used, 35u);
}

TEST(Content, ScanFindsExactlyWhatWasWritten) {
    ContentFolder content;
    ASSERT_TRUE(readDataBase());
    readParameters(); // the install path comes from the file that the builder wrote
    ASSERT_TRUE(par::SCAN_LIVERIES);
    scanLiveries();
    EXPECT_EQ(liveryCount(), content.count.liveries);
    EXPECT_EQ(readouts.liveries, static_cast<int>(content.count.liveries));
    EXPECT_FALSE(par::SCAN_LIVERIES);
    EXPECT_FALSE(content.logHas("left out")) << content.logText();

    std::map<std::string, world::AiLivery> planned;
    for (const world::AiLivery& livery : world::planLiveries(world::readTables(dataFolder())))
        EXPECT_TRUE(planned.emplace(livery.title, livery).second) << "twice: " << livery.title;
    for (const Livery& livery : readLiveriesScanned()) {
        const auto wanted = planned.find(livery.title);
        ASSERT_NE(wanted, planned.end()) << livery.title;
        EXPECT_EQ(livery.airline, wanted->second.airline) << livery.title;
        EXPECT_EQ(livery.model, wanted->second.type) << livery.title;
        EXPECT_EQ(livery.regcode, wanted->second.regcode) << livery.title;
        EXPECT_EQ(livery.cargo, wanted->second.cargo) << livery.title;
        EXPECT_EQ(std::tuple(modelExists(livery.model), airlineExists(livery.airline)), std::tuple(true, true))
            << livery.title;
        planned.erase(wanted);
    }
    EXPECT_TRUE(planned.empty()) << planned.begin()->first;
}

TEST(Content, SecondRunTouchesNothingAndKeepsTheUsersFiles) {
    ContentFolder content;
    const auto snapshot = [&] {
        std::map<std::string, fs::file_time_type> times;
        for (const auto& file : fs::recursive_directory_iterator(content.folder))
            if (file.is_regular_file() && file.path().filename() != "Log.txt")
                times[file.path().string()] = file.last_write_time();
        return times;
    };
    const fs::path parameters = content.plan.appData / "Kestrelune" / "parameters.xml";
    putFile(parameters, "the user's own");
    putFile("input/update_server.txt", "https://updates.example\n");
    // A model of an earlier run and a package of the old kind go, somebody else's package stays.
    const fs::path old = content.community() / world::aiPackage / "SimObjects/Airplanes/KAI_OLD/aircraft.cfg";
    const fs::path oldPackage = content.community() / "kestrelune-ai-airbus";
    const fs::path foreign = content.community() / "kestrelune-ai-mine/aircraft.cfg";
    putFile(foreign, "[FLTSIM.0]\n");
    const auto before = snapshot();
    putFile(old, "[FLTSIM.0]\n");
    putFile(oldPackage / "manifest.json", R"({"creator": "Kestrelune"})");
    putFile(oldPackage / "SimObjects/Airplanes/KAI_A320/aircraft.cfg", "[FLTSIM.0]\n");
    world::makeContent(content.plan);
    EXPECT_EQ(snapshot(), before);
    EXPECT_FALSE(fs::exists(oldPackage));
    EXPECT_EQ(readFile(parameters), "the user's own");
}

// A registration that is wrong or out of date repaints a right livery, so no correction of these packages is accepted.
TEST(Content, RegistrationsLeaveRealPackagesAsTheyAre) {
    const fs::path shared = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries" / "Community";
    if (!fs::is_directory(shared)) {
        GTEST_SKIP() << "no packages beside the project";
    }
    ContentFolder content;
    ASSERT_TRUE(readDataBase());
    ASSERT_TRUE(scanFolders({fs::canonical(shared)}));
    const std::vector<Livery> scanned = readLiveriesScanned();
    EXPECT_GE(std::ranges::count_if(scanned, [](const Livery& l) { return lookupRegcode(l.regcode).has_value(); }), 100)
        << "hardly a registration is known, so nothing could be corrected";
    EXPECT_EQ(readFile("output/info/AirlineModelConversions.txt"), "");
}

TEST(Content, EveryRegistrationNamesItsGround) {
    const std::set<std::string_view> grounds{"register", "fleet+list", "fleet"};
    std::string before, problem;
    const auto check = [&](const CsvRow& row) -> std::string {
        EXPECT_LT(before, row[0]) << "not sorted";
        EXPECT_FALSE(row[1].empty() || row[2].empty()) << row[0] << ": takes away what the feed says";
        EXPECT_TRUE(grounds.contains(row[3])) << row[0];
        before = row[0];
        return {};
    };
    const auto count =
        readCsv(dataFolder() / "registrations.csv", {"reg", "airline", "type", "basis"}, check, nullptr, problem);
    ASSERT_TRUE(count) << problem;
    EXPECT_GT(count->good, 0u);
    EXPECT_EQ(count->bad, 0u);
}

TEST(Content, WellKnownTypes) {
    ContentFolder content;
    ASSERT_TRUE(readDataBase());
    struct Type {
        const char* code;
        AircraftCategory category;
        double metres;
    };
    using enum AircraftCategory;
    // Spans as the makers publish them.
    const Type known[] = {
        {"A320", large, 34.10},   {"A388", heavy, 79.75},    {"B738", large, 35.79},
        {"B77W", heavy, 64.80},   {"AT76", large, 27.05},    {"C172", light, 11.00},
        {"GLF6", buzjets, 30.36}, {"EUFI", highPerf, 10.95}, {"EC35", rotorcraft, 10.20},
    };
    for (const Type& type : known) {
        EXPECT_TRUE(modelExists(type.code)) << type.code;
        EXPECT_EQ(text(categoryOf(type.code)), text(type.category)) << type.code;
        EXPECT_NEAR(wingspanOf(type.code) * 2 * metresPerNm, type.metres, 0.05) << type.code;
    }
    EXPECT_GE(maxWingspan() * 2 * metresPerNm, 79.70) << "none is left out";
}

TEST(Content, WellKnownAirports) {
    ContentFolder content;
    ASSERT_TRUE(readAirportTable());
    struct Airport {
        const char *code, *iata;
        double lat, lon, feet; ///< degrees
    };
    // Reference points in degrees and minutes as published.
    const Airport known[] = {
        {"LEBL", "BCN", 41 + 17.8 / 60, 2 + 4.7 / 60, 14},
        {"EGLL", "LHR", 51 + 28.7 / 60, -(0 + 27.7 / 60), 83},
        {"EDDM", "MUC", 48 + 21.2 / 60, 11 + 47.2 / 60, 1487},
        {"EHAM", "AMS", 52 + 18.5 / 60, 4 + 45.8 / 60, -11},
        {"KJFK", "JFK", 40 + 38.4 / 60, -(73 + 46.7 / 60), 13},
        {"YSSY", "SYD", -(33 + 56.8 / 60), 151 + 10.6 / 60, 21},
        {"SPJC", "LIM", -(12 + 1.3 / 60), -(77 + 6.9 / 60), 113},
        {"ZURK", "RKZ", 29 + 21.1 / 60, 89 + 18.0 / 60, 12408},
        {"SAOL", "", -(34 + 8.1 / 60), -(63 + 21.7 / 60), 449},
    };
    for (const Airport& airport : known) {
        const auto entry = findAirport(airport.code);
        ASSERT_TRUE(entry) << airport.code;
        EXPECT_EQ(entry->iata, airport.iata);
        EXPECT_LT(distanceNm({entry->lat, entry->lon}, {airport.lat, airport.lon}), 1.0) << airport.code;
        EXPECT_NEAR(entry->alt, airport.feet, 50) << airport.code;
    }
    for (const char* former : {"SPIM", "OKBK", "UAFM", "WARJ", "FVHA", "KUNV"})
        EXPECT_FALSE(findAirport(former)) << former;
    for (std::size_t i = 1; i < airportTable.size(); ++i)
        EXPECT_LT(airportTable[i - 1].code, airportTable[i].code);
}

} // namespace
} // namespace kes::test
