// SPDX-License-Identifier: MIT
// A park airport from sight to release: its load, its aircraft, and the bad days.
#include "airport_harness.h"
#include "airports/airport_errand.h"
#include "feed/traffic_reader.h"
#include "tests/update/http_server.h"
#include "window_backend.h"

namespace kes::test {
namespace {

struct StaticParkingTest : AirportTest {
    TestWindow window;

    void SetUp() override {
        AirportTest::SetUp();
        createFolders();
        par::RANDOM.value = false;
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
    }
    /// A file with stands 100 m apart, each with one option of now.
    static std::string airportText(const char* prefix, LatLon at, int standCount, const char* more = "") {
        std::string text = fmt::format("<parameters><parameter name='airport_name' value='Name {}'/><parameter "
                                       "name='publisher' value='stock'/><parameter name='altitude' value='364'/>{}"
                                       "</parameters><parkpositions>",
                                       prefix, more);
        for (int n = 0; n < standCount; ++n)
            text += fmt::format("<parkpos id='{}{}' latitude='{:.6f}' longitude='{:.6f}' heading='90' radius='30'>"
                                "<opt airl='DLH' type='A320' day='3' hh='20' cs='{}{}'/></parkpos>",
                                prefix, n + 1, at.lat + 100.0 * n * metre, at.lon, prefix, n + 1);
        return text + "</parkpositions>";
    }
    static void putAirport(const char* code, LatLon at, int standCount, const char* more = "") {
        write(std::filesystem::path("updates/MSFS/archive/stock") / (std::string(code) + ".xml"),
              airportText(code, at, standCount, more));
    }
    static void fly(LatLon position, double agl = 1000) {
        setUser(position, false, agl);
        parkingTick(false);
    }
    static std::string here() { return airportRef ? airportRef->code : "-"; }
    /// Where the airport is after a tick of the flying user.
    static std::string flown(LatLon position, double agl = 1000) {
        fly(position, agl);
        return here();
    }
    /// Until the airport in sight has been read.
    static void load(LatLon at = field) {
        fly(at);
        fly(at);
    }
    static void list(std::initializer_list<const char*> codes) {
        std::string text;
        for (const char* code : codes)
            text += std::string(code) + "\n";
        write(path::myParkAirports, text);
        lf_readMyParkAirports();
    }
    /// Everything that is planned comes, and the simulator has it.
    static void createAll() {
        while (staticAircraftWait())
            createNextStatic();
        clearOrders();
        std::uint32_t object = 1000;
        for (AiAircraft& a : parkedAircraft) {
            if (a.st != AircraftStatus::adding2sim)
                continue;
            a.objectid = ++object;
            a.st = AircraftStatus::active;
        }
    }
};

TEST_F(StaticParkingTest, OnTheGroundTheAirportIsFilled) {
    putAirport("EDDF", field, 10);
    par::CUSTOM_PARKING_PERCENTAGE.value = -1;
    setUser(milesNorth(60), true);
    parkingTick(true);
    EXPECT_EQ(statusText(), "User aircraft on the ground, no airport in sight");
    setUser(milesNorth(6), true);
    parkingTick(false);
    EXPECT_EQ(statusText(), "User aircraft on the ground at EDFE, no airport file found");
    EXPECT_FALSE(placingGoesOn());
    setUser({field.lat + 100 * metre, field.lon}, true); // on the second stand
    parkingTick(true);
    EXPECT_EQ(here(), "EDDF");
    EXPECT_EQ(statusText(), "Calculating static parked aircraft ...");
    EXPECT_TRUE(program.logHas("User aircraft on the ground at EDDF\nThe park airport is EDDF (FRA)\n"));
    EXPECT_TRUE(placingGoesOn());
    EXPECT_FALSE(window.enabled(par::MAX_FIT));
    EXPECT_FALSE(parkAirportLoaded());
    EXPECT_TRUE(trafficReader.collecting()) << "the callsigns of until the next time";

    parkingTick(false);
    EXPECT_TRUE(parkAirportLoaded());
    EXPECT_FALSE(trafficReader.collecting());
    EXPECT_EQ(statusText(),
              "Making changes to airport parking parameters is disabled while static parking takes place ...");
    EXPECT_EQ(planned(), "1 EDDF1 0, 3 EDDF3 0, 4 EDDF4 0, ") << "30 percent, and not on the user's stand";
    EXPECT_TRUE(program.logHas("(utc) It is day 3 (Wednesday), 10 hours\n"));
    EXPECT_TRUE(program.logHas("3 real positions found, Max fit=24 hours, hh:47 or 24 hrs, day 3 fit: 0.5 hour\n"
                               "3 positions (30% vs wanted 30%, with Max fit=24 hours)\n"));
    EXPECT_EQ(readouts.maxPark, 3);
    EXPECT_EQ(readouts.maxParkPercent, 30);
    EXPECT_EQ(readoutText(Readout::parkAirport), "Name EDDF");
    EXPECT_EQ(readFile(path::myParkAirports), "EDDF,EDDF2\n");
    parkingTick(false);
    EXPECT_TRUE(placingGoesOn()) << "some are still to come";
    EXPECT_FALSE(window.enabled(par::MAX_FIT));
    createAll();
    setHhNow({3, 23});
    parkingTick(false);
    EXPECT_FALSE(placingGoesOn());
    EXPECT_TRUE(window.enabled(par::MAX_FIT));
    EXPECT_EQ(readouts.minutesToRenewal, 19);
    EXPECT_EQ(readouts.averageFit, 1.5F);
    EXPECT_EQ(statusText(), "");
    EXPECT_EQ(parkedAircraft.size(), 3u);

    setUser({field.lat + 1, field.lon}, true);
    parkingTick(false);
    EXPECT_EQ(here(), "EDDF") << "on the ground the airport stays";
}

TEST_F(StaticParkingTest, InTheAirItComesAndGoesWithTheList) {
    putAirport("EDDF", field, 2);
    putAirport("EDFE", milesNorth(4), 2);
    list({"EDDF", "EDFE", "EGLL"});
    EXPECT_EQ(flown(milesNorth(-21)), "-") << "too far";
    EXPECT_EQ(flown(milesNorth(-19), 18001), "-") << "too high";
    EXPECT_EQ(flown(milesNorth(-19), 18000), "EDDF");
    EXPECT_EQ(statusText(), "EDDF in sight at 19.0 nm");
    fly(milesNorth(-19));
    createAll();
    EXPECT_EQ(parkedAircraft.size(), 2u);
    EXPECT_EQ(flown(milesNorth(1.9)), "EDDF");
    EXPECT_EQ(flown(milesNorth(2.1)), "-");
    EXPECT_TRUE(program.logHas(" EDFE is in sight (1.9 nm), parked aircraft at EDDF will be removed first\n"));
    EXPECT_EQ(airportsLeft, 1);
    for (const AiAircraft& a : parkedAircraft) {
        EXPECT_EQ(a.st, AircraftStatus::removingfromsim);
        EXPECT_EQ(a.sid, 0u) << "a number of the next airport's list";
    }
    EXPECT_TRUE(stands.empty());
    EXPECT_EQ(flown(milesNorth(2.1)), "EDFE");
    fly(milesNorth(2.1));
    EXPECT_EQ(flown(milesNorth(24.1)), "-");
    EXPECT_TRUE(program.logHas(" EDFE is out of sight (20.1 nm), parked aircraft will be removed\n"));
    EXPECT_FALSE(parkAirportLoaded());
    EXPECT_EQ(readouts.maxPark, -1);
    load(milesNorth(2.1));
    par::DESTINATION.set("EDDF");
    setDestinationEntry("EDDF", field);
    EXPECT_EQ(flown(milesNorth(2.1)), "EDFE") << "the destination is in sight, but farther";
    EXPECT_EQ(flown(milesNorth(1.9)), "-");
    EXPECT_EQ(flown({0, 0}), "-") << "no flight";
}

TEST_F(StaticParkingTest, WhatCannotBeLoadedIsToldAndLetGo) {
    const struct {
        const char* name;
        std::function<void()> prepare;
        const char* text;
    } rows[] = {
        {"no file", [] {}, "lf_readParkedFile EDDF not found"},
        {"unknown publisher", [] { write(path::myThirdparty / "EDDF.txt", "archive/unknown/EDDF.xml\n"); },
         "lf_readParkedFile EDDF has publisher:unknown, archive/unknown/EDDF.xml"},
        {"no stands", [] { putAirport("EDDF", field, 0); }, "no stands found"},
        {"no XML", [] { write("updates/MSFS/archive/stock/EDDF.xml", "<par"); }, "could not be loaded"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove_all("updates/MSFS");
        std::filesystem::remove_all(path::myThirdparty);
        resetAll();
        row.prepare();
        list({"EDDF"});
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(flown(field), "EDDF") << row.name;
            EXPECT_EQ(flown(field), "-") << row.name;
            EXPECT_TRUE(statusText().find(row.text) != std::string::npos) << row.name << ": " << statusText();
        }
        EXPECT_TRUE(stands.empty());
        EXPECT_FALSE(parkAirportLoaded());
        EXPECT_TRUE(window.enabled(par::MAX_FIT));
    }
}

TEST_F(StaticParkingTest, SettingsOfTheAirportEndWithIt) {
    putAirport("EDDF", field, 20, "<parameter name='Qf_real' value='45'/>");
    write("airports/learned/stock/EDDF.xml",
          "<parameters><parameter name='airport_name' value='Name EDDF'/><parameter name='MAX_LIVE' value='17'/>"
          "<parameter name='MAX_FIT' value='9'/></parameters><parkpositions/>");
    const struct {
        int stands, quality;
        bool soft;
    } rows[] = {{20, 45, false}, {19, 45, true}, {20, 44, true}};
    par::MAX_LIVE.value = 33;
    list({"EDDF"});
    load();
    EXPECT_EQ(par::MAX_LIVE, 17);
    EXPECT_EQ(par::MAX_FIT_FL, 5.0F);
    EXPECT_TRUE(windowRequests.maxLive.exchange(false));
    unloadParkAirport();
    EXPECT_EQ(par::MAX_LIVE, 33);
    EXPECT_TRUE(windowRequests.maxLive);
    std::filesystem::remove_all("airports/learned/stock");
    for (const auto& row : rows) {
        par::LEARN_SOFT.value = true;
        putAirport("EDDF", field, row.stands,
                   fmt::format("<parameter name='Qf_real' value='{}'/>", row.quality).c_str());
        load();
        EXPECT_EQ(learningAllowed, row.soft) << row.stands << " " << row.quality;
        EXPECT_EQ(par::LEARN_SOFT, row.soft);
        EXPECT_EQ(window.enabled(par::LEARN_SOFT), row.soft);
        EXPECT_EQ(saveParamChanged, !row.soft);
        saveParamChanged = false;
        unloadParkAirport();
    }
}

TEST_F(StaticParkingTest, WhatTheBaseDoesNotHaveIsSavedAtTheRelease) {
    const auto option = [] {
        for (const std::int32_t index : {2, 0}) // the second is out of use
            addOption(stands[0],
                      {.regcode = "D-AIZA", .coupledCs1 = "DLH1", .coupledCs2 = "A&B", .hours = 2, .day = 3, .real = 0})
                .optIndex = index;
    };
    const auto radius = [] {
        stands[1].radius = 33 / metresPerNm;
        stands[1].radiusChange = true;
    };
    const auto manual = [] {
        stands[0].manual = true;
        stands[0].options.clear();
    };
    const struct {
        const char* name;
        std::function<void()> learn;
        int updates;
        const char* positions; ///< of the file; null = none is written
        const char* told;      ///< behind the path
    } rows[] = {
        {"nothing", [] {}, 0, nullptr, ""},
        {"a setting", [] { saveParamChanged = true; }, 0, "", "0 updates and one or more parameter changes"},
        {"an option of a known aircraft", option, 1,
         "<parkpos id=\"EDDF1\"><opt reg=\"D-AIZA\" soft=\"true\" day=\"3\" hh=\"1\" cs=\"DLH1:A&amp;B\" /></parkpos>",
         "1 update "},
        {"a radius", radius, 2, "<parkpos id=\"EDDF2\" radius_change=\"true\" radius=\"33.0\" />", "2 updates "},
        {"freight", [] { stands[1].cargo = stands[1].cargoChange = true; }, 1,
         "<parkpos id=\"EDDF2\" cargo_change=\"true\" cargo=\"true\" />", "1 update "},
        {"a stand made by hand", manual, 1,
         "<parkpos id=\"EDDF1\" latitude=\"50.000000\" longitude=\"8.000000\" heading=\"90.0\" radius=\"30.0\" "
         "cargo=\"false\" ramp=\"false\" manual=\"true\" />",
         "1 update "},
    };
    putAirport("EDDF", field, 2);
    list({"EDDF"});
    const std::filesystem::path file = "airports/learned/stock/EDDF.xml";
    for (const auto& row : rows) {
        std::filesystem::remove(file);
        saveUpdates = 7; // of another airport
        load();
        ASSERT_EQ(saveUpdates, 0);
        row.learn();
        saveUpdates = row.updates;
        unloadParkAirport();
        ASSERT_EQ(std::filesystem::exists(file), row.positions != nullptr) << row.name;
        if (row.positions == nullptr)
            continue;
        std::string text = readFile(file), positions;
        EXPECT_EQ(text.find("BGLpath"), std::string::npos);
        EXPECT_EQ(text.find("MAX_LIVE"), std::string::npos) << "there is no limit";
        for (const char c : text.substr(text.find("<parkpositions")))
            if (c != '\n' && c != '\t')
                positions += c;
        EXPECT_EQ(positions, *row.positions == 0 ? "<parkpositions />"
                                                 : fmt::format("<parkpositions>{}</parkpositions>", row.positions))
            << row.name;
        EXPECT_TRUE(program.logHas(fmt::format("airports/learned/stock/EDDF.xml\" saved with {}", row.told)))
            << row.name;
    }
    load();
    handmadeAirport = true;
    saveUpdates = 1;
    saveParkState();
    EXPECT_EQ(saveUpdates, 0) << "once is enough";
    EXPECT_TRUE(program.logHas(" handmade \"airports/learned/stock/EDDF.xml\" saved with 1 update "));
    const std::string whole = readFile(file);
    for (const char* part : {"name=\"handmade\" value=\"true\"", "name=\"Qf_real\" value=\"63\"", "name=\"Qf_soft\"",
                             "name=\"altitude\" value=\"364\"", "id=\"EDDF2\" latitude=", "cs=\"EDDF2\""})
        EXPECT_NE(whole.find(part), std::string::npos) << part << whole;
    saveParamChanged = true;
    saveParkState();
    EXPECT_FALSE(saveParamChanged);
}

TEST_F(StaticParkingTest, AServerOnTheNetworkHoldsNoTickUp) {
    using namespace std::chrono;
    HttpServer server;
    write(path::updateServer, server.base());
    std::string text = airportText("EDDF", field, 3);
    server.put("MSFS/archive/stock/EDDF.xml", {.body = text, .piece = text.size() / 8, .pauseMs = 25});
    setUser({field.lat + 1000 * metre, field.lon}, true);
    milliseconds longest{0};
    const auto ticksUntil = [&](const std::function<bool()>& condition) {
        return waitFor([&] {
            const auto begin = steady_clock::now();
            parkingTick(false);
            longest = std::max(longest, duration_cast<milliseconds>(steady_clock::now() - begin));
            return condition();
        });
    };
    const auto told = [&](const std::string& line) { return ticksUntil([&] { return statusText() == line; }); };
    ASSERT_TRUE(ticksUntil(parkAirportLoaded)) << program.logText();
    EXPECT_EQ(stands.size(), 3u);
    EXPECT_EQ(toPark.size(), 3u);
    EXPECT_LT(longest.count(), 150) << "one answer of the server takes 200";
    EXPECT_FALSE(std::filesystem::exists("airports/park_airport.fetched.xml"));
    unloadParkAirport();

    server.put("MSFS/archive/stock/EDDF.xml", {"", 404});
    setUser(field, true);
    ASSERT_TRUE(told("User aircraft on the ground at EDDF, no airport file found")) << statusText();
    list({"EDDF"});
    clearStatus();
    setUser(field, false);
    ASSERT_TRUE(told("lf_readParkedFile EDDF not found")) << statusText();
    write(path::myThirdparty / "EDDF.txt", "archive/thirdparty/EDDF.xml\n");
    ASSERT_TRUE(told("failed to download: \"" + server.base() + "MSFS/archive/thirdparty/EDDF.xml\"")) << statusText();
    EXPECT_LT(longest.count(), 150);
}

} // namespace
} // namespace kes::test
