// SPDX-License-Identifier: MIT
#include "core/text.h"
#include "files.h"
#include "pack_folder.h"
#include "reference_text.h"
#include "tools/pack/airport_check.h"
#include "tools/pack/command.h"
#include "tools/pack/imports.h"
#include "tools/pack/sources.h"

#include <stdexcept>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

TEST(Import, AircraftOfRealLifeLists) {
    PackFolder folder;
    std::ofstream("base.csv", std::ios::binary)
        << "\xEF\xBB\xBF;hex;\"Registration\";Model;Operator;Flown by;Freighter;Note\r\n"
           "0;1;d-aiza;C172;BAW;;;plain source wins\r\n"
           "1;2;\"D-AAAA\";a320;dlh;BAW;;\"two\r\nlines; and \"\"quotes\"\"\"\r\n"
           "2;3;D-BBBB;B77W;DLH;DLH;Yes;\r\n"
           "3;4;D-CCCC;C172;XXX;;0;unknown airline\r\n"
           "\r\n"
           "4;5;D-AAAA;A321;DLH;;;again\r\n"
           "5;6;;A321;DLH;;;\r\n"
           "6;7;D DDDD;A321;DLH;;;\r\n"
           "7;8;D-EEEE;ZZ99;DLH;;;\r\n"
           "8;9;D-FFFF;;;;;\r\n"
           "9;10;D-GGGG;;GEC;;;\r\n"
           "10;11\r\n";
    pack::PackPlan plan = folder.plan();
    plan.aircraft.push_back({"base.csv", "registration", "MODEL", "operator", "flown by", "freighter", false});
    const pack::PackCount count = folder.packAndRead(plan);
    EXPECT_EQ(recordText("D-AIZA"), "DLH/A320/");
    EXPECT_EQ(recordText("D-AAAA"), "DLH/A320/BAW");
    EXPECT_EQ(recordText("D-BBBB"), "DLH/B77W//cargo") << "its own airline flies it";
    EXPECT_EQ(recordText("D-CCCC"), "/C172/");
    EXPECT_EQ(recordText("D-GGGG"), "GEC//");
    EXPECT_EQ(recordText("D-FFFF"), "unknown");
    EXPECT_EQ(count.overruled, 1u);
    EXPECT_EQ(folder.badText(count), "base.csv:8: D-AAAA stands twice\nbase.csv:9: no registration\n"
                                     "base.csv:10: \"D DDDD\" is no registration\nbase.csv:11: type ZZ99 of D-EEEE is "
                                     "unknown\nbase.csv:12: neither a known airline nor a type for D-FFFF\n"
                                     "base.csv:14: 2 fields instead of at least 7\n");
    plan.aircraft[0].privateWhenEmpty = true;
    plan.aircraft[0].cargo = plan.aircraft[0].operating = "";
    folder.packAndRead(plan);
    EXPECT_EQ(recordText("D-CCCC"), "PVT/C172/");
    EXPECT_EQ(recordText("D-FFFF"), "PVT//");
    EXPECT_EQ(recordText("D-BBBB"), "DLH/B77W/") << "a column that is not named is not read";
    plan.aircraft[0].type = "no such column";
    EXPECT_THROW(pack::packUpdates(plan), std::runtime_error);
}

TEST(Import, CategoriesOfTypeLists) {
    // Wake, description, kind of engine and number of engines.
    const std::pair<const char*, std::vector<const char*>> cases[] = {
        {"Large", {"M,L2J,,", "M,L2T,,", "L/M,L2T,,", "M,LandPlane,Jet,2"}},
        {"Heavy", {"H,L2J,,", "J,L4J,,", "H,L4T,,"}},
        {"Buzjets", {"L,L2J,,", "l,l2j,,"}},
        {"HighPerf", {"L,L1J,,", "M,L1J,,", "M,LandPlane,Jet,1"}},
        {"Light", {"L,L1P,,", "L,S1T,,", "L,Tornado,Piston,2", "L,,,"}},
        {"Rotorcraft", {"L,H2T,,", ",G1P,,", "M,T2T,,", "L,Helicopter,,"}},
        {"none", {",L2J,,", "-,,,"}},
    };
    for (const auto& [expected, types] : cases)
        for (const char* type : types) {
            const auto f = split(type, ',');
            const auto category = pack::categoryFrom(f[0], f[1], f[2], f[3]);
            EXPECT_EQ(category ? text(*category) : "none", expected) << type;
        }
}

TEST(Import, TypeListsInBothForms) {
    const char* json = R"([{"ModelFullName":"A-320","Description":"L2J","WTC":"M","Designator":"A320"},
        {"Description":"L2J","WTC":"M","Designator":"B38M","EngineCount":2},
        {"Description":"L2J","WTC":"M","Designator":"B38M"},
        {"Description":"-","WTC":"-","Designator":"BALL"}, 7,
        {"Description":"H1P","WTC":"L","Designator":"R44"}, {"WTC":"L","Designator":"LONGER"}])";
    const std::string csv =
        "Manufacturer,Designator,WTC,Description\nAIRBUS,A320,M,L2J\nBOEING,B38M,M,L2J\n,B38M,M,L2J\n"
        ",BALL,-,-\n,\"R44\",L,H1P\n,LONGER,L,L1P\n";
    for (const std::string& list : {std::string(json), "{\"list\":" + std::string(json) + "}", csv}) {
        PackFolder folder;
        std::ofstream("types.lst") << list;
        folder.source("similar_types.csv", "types\nB38M A320\n");
        pack::PackPlan plan = folder.plan();
        plan.typeList = pack::TypeListImport{"types.lst", "", "", "", "", ""};
        const pack::PackCount count = folder.packAndRead(plan);
        EXPECT_EQ(categoryOf("B38M"), AircraftCategory::large);
        EXPECT_EQ(categoryOf("R44"), AircraftCategory::rotorcraft);
        EXPECT_FALSE(modelExists("BALL"));
        EXPECT_EQ(count.types, 10u);
        EXPECT_EQ(count.overruled, 1u);
        EXPECT_EQ(count.similarGroups, 1u) << "the other sources know the types of the list";
        EXPECT_EQ(count.bad.size(), list == csv ? 2u : 3u) << folder.badText(count);
    }
    for (const char* wrong : {"[1", "{\"a\":1}", "x,y\n1,2\n", "[]", ""}) {
        PackFolder folder;
        std::ofstream("types.lst") << wrong;
        pack::PackPlan plan = folder.plan();
        plan.typeList = pack::TypeListImport{"types.lst", "", "", "", "", ""};
        EXPECT_THROW(pack::packUpdates(plan), std::runtime_error) << wrong;
        plan.typeList->file = "nowhere";
        EXPECT_THROW(pack::packUpdates(plan), std::runtime_error);
    }
    PackFolder folder;
    std::ofstream("types.lst") << "kind;turbulence;d\nL2J;M;B38M\n";
    pack::PackPlan plan = folder.plan();
    plan.typeList = pack::TypeListImport{"types.lst", "d", "turbulence", "kind", "", ""};
    folder.packAndRead(plan);
    EXPECT_EQ(categoryOf("B38M"), AircraftCategory::large) << "columns with names of their own";
}

TEST(Import, OurAirports) {
    PackFolder folder;
    std::ofstream("airports.csv")
        << "\"id\",\"ident\",\"type\",\"name\",\"latitude_deg\",\"longitude_deg\",\"elevation_ft\",\"gps_code\","
           "\"iata_code\"\n"
           "1,\"EDDM\",\"large_airport\",\"Munich \"\"F. J. Strauss\"\" & "
           "more\",48.353802,11.7861,1487,\"EDDM\",\"MUC\"\n"
           "2,\"EHAM\",\"large_airport\",\"Schiphol\",52.308601,4.76389,-11,\"EHAM\",\"AMS\"\n"
           "3,\"00A\",\"heliport\",\"Total\",40.07,-74.93,11,\"K00A\",\n"
           "4,\"US-0001\",\"small_airport\",\"No code\",40,-74,11,,\n"
           "5,\"DE-0002\",\"small_airport\",\"Flugplatz Z\xC3\xBCrich\",40,-74,,\"EDXX\",\n"
           "6,\"EDXX\",\"medium_airport\",\"Greater\",41,-75,5,\"EDXX\",\n"
           "7,\"EDOO\",\"closed\",\"Gone\",41,-75,5,\"EDOO\",\n"
           "8,\"EDYY\",\"small_airport\",\"Nowhere\",91,-75,5,\"EDYY\",\n"
           "9,\"EDZZ\",\"small_airport\",\"High\",41,-75,mountain,\"EDZZ\",\n"
           "10,\"LKX\",\"seaplane_base\",\"Water\",41,-75,,\"\",\n";
    pack::PackPlan plan = folder.plan();
    plan.ourAirports = "airports.csv";
    plan.airportsOut = "input";
    const pack::PackCount count = folder.packAndRead(plan);
    ASSERT_EQ(count.doubtful.size(), 1u);
    EXPECT_EQ(count.doubtful[0].reason, "EDXX and LKX are at one place");
    EXPECT_EQ(count.doubtful[0].line, 11u);
    EXPECT_EQ(count.airports, 4u);
    EXPECT_EQ(count.airportsLeftOut, 3u);
    EXPECT_EQ(count.airportsAtSeaLevel, 1u);
    EXPECT_EQ(folder.badText(count),
              "airports.csv:7: EDXX stands twice, \"Flugplatz Z\xC3\xBCrich\" gives way to a greater "
              "one\nairports.csv:9: EDYY has no good position\nairports.csv:10: EDZZ has the "
              "elevation \"mountain\"\n");
    EXPECT_EQ(readFile("input/airports_msfs.xml"),
              "<?xml version=\"1.0\"?>\n<airports>\n"
              "<airport code=\"EDDM\" alt=\"1487\" lat=\"48.353802\" lon=\"11.7861\" iata=\"MUC\"/>\n"
              "<airport code=\"EDXX\" alt=\"5\" lat=\"41\" lon=\"-75\" iata=\"\"/>\n"
              "<airport code=\"EHAM\" alt=\"-11\" lat=\"52.308601\" lon=\"4.76389\" iata=\"AMS\"/>\n"
              "<airport code=\"LKX\" alt=\"0\" lat=\"41\" lon=\"-75\" iata=\"\"/>\n</airports>\n");
    EXPECT_NE(readFile("input/airports_msfs_names.xml")
                  .find("<airport ICAO=\"EDDM\" name=\"Munich &quot;F. J. Strauss&quot; &amp; more\"/>"),
              std::string::npos);
}

TEST(AirportCheck, DoublesAndElevations) {
    using Rows = std::vector<pack::AirportRow>;
    const auto row = [](std::string code, double lat, double lon, std::string feet) {
        return pack::AirportRow{std::move(code), "", std::to_string(lat), std::to_string(lon), std::move(feet), ""};
    };
    // Three neighbours with the median 200 and a relief of 200, so 900 ft from the median are too many.
    const auto among = [&](const char* feet, double thirdLat = 50.2, const char* third = "300") {
        return Rows{row("SUBJ", 50, 8, feet), row("AAAA", 50.1, 8, "100"), row("BBBB", 49.9, 8, "200"),
                    row("CCCC", thirdLat, 8, third)};
    };
    Rows crowd{row("SUBJ", 50, 8, "1500"), row("HIGH", 50.3, 8, "9000")};
    for (int i = 1; i <= 9; ++i)
        crowd.push_back(row("LOW" + std::to_string(i), 50 + 0.01 * i, 8, "200"));
    const char* const tooHigh = "SUBJ has the elevation 1101 ft, 3 airports around it have 100 to 300;";
    const char* const atOnePlace = "AAAA and BBBB are at one place;";
    struct Case {
        const char* name;
        Rows rows;
        std::string expected;
        std::vector<pack::AirportOddity> oddities{};
    };
    const Case cases[] = {
        {"0.29 nm", {row("BBBB", 0, 8, ""), row("AAAA", 0.00483, 8, "")}, atOnePlace},
        {"0.31 nm", {row("AAAA", 0, 8, ""), row("BBBB", 0.00517, 8, "")}, ""},
        {"across the date line", {row("AAAA", 60, 179.997, ""), row("BBBB", 60, -179.998, "")}, atOnePlace},
        {"known", {row("AAAA", 0, 8, ""), row("BBBB", 0, 8, "")}, "", {{"BBBB", "AAAA", 2}}},
        {"known elsewhere", {row("AAAA", 0, 8, ""), row("BBBB", 0, 8, "")}, atOnePlace, {{"AAAA", "CCCC", 2}}},
        {"high", among("1100"), ""},
        {"too high", among("1101"), tooHigh},
        {"too low", among("-701"), "SUBJ has the elevation -701 ft, 3 airports around it have 100 to 300;"},
        {"known elevation", among("1101"), "", {{"SUBJ", "", 2}}},
        {"known double only", among("1101"), tooHigh, {{"SUBJ", "AAAA", 2}}},
        {"third neighbour beyond 20 nm", among("5000", 50.34), ""},
        {"third neighbour of unknown elevation", among("5000", 50.2, ""), ""},
        {"a tenth neighbour makes no relief", crowd,
         "HIGH has the elevation 9000 ft, 9 airports around it have 200 to 200;"
         "SUBJ has the elevation 1500 ft, 9 airports around it have 200 to 200;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        pack::PackCount count;
        auto oddities = c.oddities;
        pack::checkAirports(c.rows, "airports.csv", oddities, count);
        std::string text;
        for (const pack::BadRow& doubt : count.doubtful)
            text += doubt.reason + ";";
        EXPECT_EQ(text, c.expected);
    }
}

TEST(Command, WrongArguments) {
    struct Case {
        std::vector<std::string> arguments;
        const char* message;
    };
    const Case cases[] = {
        {{}, "--data and --out are needed"},
        {{"--dta", "x"}, "unknown: --dta x"},
        {{"--data", "--out", "x"}, "--data wants a value"},
        {{"--data", "a", "--out", "b", "--reg-column", "r"}, "--reg-column: belongs behind --aircraft"},
        {{"--data", "a", "--out", "b", "--wake-column", "r"}, "--wake-column: belongs behind --type-list"},
        {{"--data", "a", "--out", "b", "--aircraft", "f", "--reg-column", "r"}, "needs --reg-column and --type-column"},
        {{"--data", "a", "--out", "b", "--airports-out", "f"}, "--airports-out needs --ourairports"},
        {{"--data", "a", "--out", "b", "--show-bad", "many"}, "--show-bad wants a whole number"},
        {{"--aircraft", "f", "--private-when-empty=no"}, "--private-when-empty takes no value"},
    };
    for (const Case& c : cases) {
        std::string out, error;
        EXPECT_EQ(pack::runCommand(c.arguments, out, error), 2) << c.message;
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_NE(error.find("--help"), std::string::npos) << error;
    }
}

TEST(Command, TellsWhatWasWrittenAndWhatWasBad) {
    PackFolder folder;
    std::ofstream base("base.csv");
    base << "r,t\n";
    for (int i = 0; i < 30; ++i)
        base << "\"D,\",A320\n";
    base.close();
    const std::string head = "icao,iata,lat,lon,elev_ft,name\n";
    folder.source("airports.csv", head + "SPIM,,-12.02,-77.11,113,\nSPJC,LIM,-12.02,-77.11,113,\nSPJC,,1,1,1,\n");
    folder.source("airport_oddities.csv", "icao,beside,reason\nSPJC,,high\nSPIM,SPJC,\n");
    const std::vector<std::string> arguments{
        "--data", "data",       "--out",   "updates",      "--aircraft", "base.csv",      "--show-bad",
        "3",      "--bad-rows", "bad.csv", "--reg-column", "r",          "--type-column", "t"};
    std::string out, error;
    EXPECT_EQ(pack::runCommand(arguments, out, error), 0) << error;
    EXPECT_NE(out.find("32 bad rows:\n  base.csv:2: \"D,\" is no registration\n  base.csv:3:"), std::string::npos)
        << out;
    EXPECT_NE(out.find("2 doubtful rows:\n  data/airports.csv:3: SPIM and SPJC are at one place\n"
                       "  data/airport_oddities.csv:2: SPJC is not odd\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find("base.csv:5:"), std::string::npos);
    EXPECT_NE(out.find("  and 29 more\n"), std::string::npos);
    const std::size_t last = out.rfind('\n', out.size() - 2);
    EXPECT_EQ(out.substr(last + 1), "written to updates: 8 types, 4 airlines, 2 registrations, 0 similar groups, 0 "
                                    "publishers, 0 lists of publishers' airports, 0 regcode entries, 0 airport files; "
                                    "32 bad rows\n");
    const std::string bad = readFile("bad.csv");
    EXPECT_TRUE(bad.starts_with("file,line,reason\nbase.csv,2,\"\"\"D,\"\" is no registration\"\nbase.csv,3,\""))
        << bad;
    EXPECT_EQ(std::count(bad.begin(), bad.end(), '\n'), 35);

    out.clear();
    EXPECT_EQ(pack::runCommand({"--data", "nowhere", "--out", "updates"}, out, error), 1);
    EXPECT_NE(error.find("kestrelune-pack: nowhere is no folder\n"), std::string::npos) << error;
    EXPECT_EQ(out, "");
}

} // namespace
} // namespace kes::test
