// SPDX-License-Identifier: MIT
// Soft options out of lists of routes.
#include "airports/airport_xml.h"
#include "airports/static_plan.h"
#include "core/hh_now.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/xml_file.h"
#include "pack_folder.h"
#include "tools/pack/apt.h"
#include "tools/pack/command.h"
#include "tools/pack/equipment.h"
#include "tools/pack/soft_options.h"

#include <algorithm>
#include <bit>
#include <fmt/format.h>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

void put(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

struct RouteFolder : test::PackFolder {
    RouteFolder() {
        source("airports.csv", "icao,iata,lat,lon,elev_ft,name\nEDDF,FRA,50,8.6,364,\nEGPH,EDI,55.9,-3.3,136,\nEGLL,"
                               "LHR,51.5,-0.5,83,\nLEBL,BCN,41.3,2.1,14,"
                               "\nNZAA,AKL,-37,175,23,\nKJFK,JFK,40.6,-73.8,13,\n");
        put("airlines.dat", "1,\"Lufthansa\",\\N,\"LH\",\"DLH\",\"LUFTHANSA\",\"Germany\",\"Y\"\n"
                            "2,\"British Airways\",\\N,\"BA\",\"BAW\",\"SPEEDBIRD\",\"United Kingdom\",\"Y\"\n"
                            "3,\"Formosa\",\\N,\"BA\",\"FOS\",\"\",\"Taiwan\",\"Y\"\n"
                            "4,\"Old Lufthansa\",\\N,\"OL\",\"DLH\",\"\",\"Germany\",\"N\"\n"
                            "5,\"Lufthansa Cargo\",\\N,\"GC\",\\N,\"\",\"Germany\",\"Y\"\n"
                            "6,\"Speedbird\",\\N,\"SB\",\"BAW\",\"\",\"Nowhere\",\"Y\"\n"
                            "7,\"Green Exports\",\\N,\"GX\",\"GEC\",\"\",\"Nowhere\",\"Y\"\n");
        put("planes.dat", "\"Airbus A320\",\"320\",\"A320\"\n\"Boeing 777-300ER\",\"77W\",\"B77W\"\n"
                          "\"Boeing 777\",\"777\",\\N\n\"Cessna 172\",\"CNA\",\"C172\"\n");
    }
    static RouteList read(const std::string& rows, PackCount& count) {
        put("routes.dat", rows);
        Sources sources;
        readFirstSources("data", sources, count);
        readOtherSources("data", sources, count);
        count.bad.clear();
        return readRoutes({"routes.dat", "airlines.dat", "planes.dat"}, sources, *readAirports("data", count), count);
    }
    static TypeSizes sizes() {
        PackCount count;
        Sources sources;
        readFirstSources("data", sources, count);
        return TypeSizes(sources);
    }
    /// "BAW EGLL A320" of every service at an airport.
    static std::string servicesAt(const RouteList& list, const std::string& code) {
        std::string text;
        const auto found = list.airports.find(code);
        for (const Service& s : found == list.airports.end() ? std::vector<Service>() : found->second.services) {
            text += s.airline + " " + s.other;
            for (const FlownType& type : s.types)
                text += " " + type.code + (type.cargo ? "F" : "");
            text += ";";
        }
        return text;
    }
};

TEST(Routes, RowsBecomeServicesOrAreTold) {
    const RouteFolder folder;
    const struct {
        const char* name;
        const char* rows;
        const char* services; ///< at LEBL
        const char* problem;
    } cases[] = {
        {"plain", "BA,2,LHR,507,BCN,1218,,0,320 77W\n", "BAW EGLL A320 B77W;", ""},
        {"both ways are one", "BA,2,LHR,1,BCN,2,,0,320\nBA,2,BCN,2,LHR,1,,0,77W\n", "BAW EGLL A320 B77W;", ""},
        {"ICAO codes", "BAW,2,EGLL,1,LEBL,2,,0,320\n", "BAW EGLL A320;", ""},
        {"codeshare", "BA,2,LHR,1,BCN,2,Y,0,320\n", "", ""},
        {"id of another with the code", "BA,3,LHR,1,BCN,2,,0,320\n", "BAW EGLL A320;", ""},
        {"no id", "BA,\\N,LHR,1,BCN,2,,0,320\n", "BAW EGLL A320;", ""},
        {"code by the name", "GC,5,FRA,1,BCN,2,,0,77W\n", "GEC EDDF B77WF;", ""},
        {"airline with another name", "SB,6,LHR,1,BCN,2,,0,320\n", "BAW EGLL A320;",
         "airlines.dat:6: \"Speedbird\" has the code BAW, today \"British Airways\"\n"},
        {"code that a freight airline has now", "GX,7,LHR,1,BCN,2,,0,320\n", "",
         "routes.dat:1: the code GEC of \"Green Exports\" is \"Lufthansa Cargo\" today\n"},
        {"no longer flying", "OL,4,LHR,1,BCN,2,,0,320\n", "",
         "routes.dat:1: airline \"OL\" (Old Lufthansa) does not fly any more or has no code of today\n"},
        {"airline not listed", "XX,9,LHR,1,BCN,2,,0,320\n", "",
         "routes.dat:1: airline \"XX\" is not in airlines.dat\n"},
        {"airport not known", "BA,2,QQQ,1,BCN,2,,0,320\n", "",
         "routes.dat:1: airport \"QQQ\" is not in airports.csv\n"},
        {"round trip", "BA,2,BCN,1,BCN,1,,0,320\n", "", "routes.dat:1: from \"BCN\" to itself\n"},
        {"equipment in part", "BA,2,LHR,1,BCN,2,,0,ZZZ 320 777\n", "BAW EGLL A320;",
         "routes.dat:1: equipment \"ZZZ\", \"777\" is not known\n"},
        {"no equipment", "BA,2,LHR,1,BCN,2,,0,\n", "", "routes.dat:1: no equipment\n"},
        {"codeshare that is not marked",
         "BA,2,LHR,1,EDI,2,,0,320\nBA,2,LHR,1,JFK,2,,0,77W\nLH,1,FRA,1,JFK,2,,0,320\nLH,1,FRA,1,EDI,2,,0,320\n"
         "LH,1,FRA,1,BCN,2,,0,320 77W\nBA,2,FRA,1,BCN,2,,0,320\n",
         "DLH EDDF A320 B77W;", ""},
        {"abroad, but with types of its own",
         "BA,2,LHR,1,EDI,2,,0,320\nBA,2,LHR,1,JFK,2,,0,77W\nLH,1,FRA,1,JFK,2,,0,320\nLH,1,FRA,1,EDI,2,,0,320\n"
         "LH,1,FRA,1,BCN,2,,0,320\nBA,2,FRA,1,BCN,2,,0,77W\n",
         "BAW EDDF B77W;DLH EDDF A320;", ""},
        {"row cut", "BA,2,LHR,1,BCN\nBA,2,LHR,1,BCN,2,,0,320\n", "BAW EGLL A320;", "routes.dat:1: "},
    };
    for (const auto& c : cases) {
        PackCount count;
        const RouteList list = RouteFolder::read(c.rows, count);
        EXPECT_EQ(RouteFolder::servicesAt(list, "LEBL"), c.services) << c.name;
        std::string told = test::PackFolder::badText(count);
        for (const BadRow& row : count.doubtful)
            if (row.file == "airlines.dat")
                told += fmt::format("{}:{}: {}\n", row.file, row.line, row.reason);
        EXPECT_EQ(
            told.substr(0, std::string_view(c.name) == "row cut" ? std::string_view(c.problem).size() : told.npos),
            c.problem)
            << c.name;
    }
}

TEST(Routes, EquipmentCodesNameTypesOfOurSources) {
    PackCount count;
    Sources sources;
    readFirstSources(fs::path(KES_SOURCE_DIR) / "data", sources, count);
    for (const EquipmentCode& code : equipmentCodes())
        EXPECT_TRUE(sources.typeCodes.contains(code.type)) << code.code;
}

TEST(Timetable, GuestsAreTurnedRoundAndAircraftAtHomeStayTheNight) {
    const RouteFolder folder;
    PackCount count;
    std::string rows;
    for (const char* airport : {"LHR", "BCN", "AKL", "JFK"})
        rows += fmt::format("LH,1,FRA,1,{},2,,0,320 77W\n", airport);
    const RouteList list = RouteFolder::read(rows, count);
    const TypeSizes sizes = RouteFolder::sizes();
    EXPECT_TRUE(list.isHome("DLH", "EDDF"));
    EXPECT_FALSE(list.isHome("DLH", "LEBL"));
    const auto nights = [&](const char* code) {
        return std::ranges::count_if(staysAt(code, list, sizes, 0), &Stay::night);
    };
    EXPECT_GT(nights("EDDF"), 0);
    for (const auto& [code, shift] : {std::pair("LEBL", 0), std::pair("NZAA", 23), std::pair("KJFK", -10)}) {
        const auto stays = staysAt(code, list, sizes, 0);
        ASSERT_FALSE(stays.empty()) << code;
        EXPECT_EQ(nights(code), 0) << code;
        for (const Stay& stay : stays) {
            const auto day = std::ranges::find_if(stay.week, [](std::uint64_t hours) { return hours != 0; });
            EXPECT_GE((std::countr_zero(*day) + shift + 48) % 48, 11)
                << code << " nobody comes before half past five, local time";
            EXPECT_LE(std::popcount(*day), stay.type.code == "B77W" ? 6 : 4) << code << " " << stay.type.code;
        }
    }
    EXPECT_TRUE(staysAt("EDDM", list, sizes, 0).empty());
}

// ------------------------------------------------------------------------------------------- stands

/// What is wrong with the options of an airport; empty = nothing.
std::string wrongIn(const std::string& code, const std::vector<Stand>& list, const std::vector<AptStart>& starts,
                    const RouteList& routes, const TypeSizes& sizes) {
    std::set<std::tuple<std::string, std::string, bool>> comes;
    if (const auto found = routes.airports.find(code); found != routes.airports.end())
        for (const Service& service : found->second.services)
            for (const FlownType& type : service.types)
                comes.insert({service.airline, type.code, type.cargo});
    std::string wrong;
    std::map<std::tuple<double, bool, bool>, std::pair<int, std::array<int, 336>>> kinds;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const Stand& stand = list[i];
        const AptStart& start = starts[i];
        const auto check = [&](bool good, const char* what) {
            if (!good)
                wrong += fmt::format("{} {}: {}\n", code, stand.id, what);
        };
        check(stand.options.size() <= mostSoftOptions, "too many options");
        check(stand.options.empty() ||
                  (start.operation != "general_aviation" && start.operation != "military" && start.kind != "hangar"),
              "not for airlines");
        Week week{};
        for (const ParkPosOption& o : stand.options) {
            check(o.day >= 1 && o.day <= 7 && o.hours != 0 && o.hours >> 48 == 0 && o.real == 0, "no soft option");
            check(comes.contains({o.airline, o.model, stand.cargo}), "does not come here");
            check(sizes.of(o.model).span / 2 <= stand.radius * metresPerNm + 0.05, "too wide");
            check(stand.heli == (sizes.of(o.model).category == AircraftCategory::rotorcraft), "helicopter");
            check((week[o.day % 7] & o.hours) == 0, "two at a time");
            week[o.day % 7] |= o.hours;
        }
        for (const std::uint32_t sid : stand.adjacent)
            for (const ParkPosOption& o : list[sid - 1].options)
                check((week[o.day % 7] & o.hours) == 0, "too near to another");
        auto& [count, taken] = kinds[{stand.radius, stand.cargo, stand.heli}];
        ++count;
        for (std::size_t slot = 0; slot < 336; ++slot)
            taken[slot] += static_cast<int>((week[slot / 48] >> (slot % 48)) & 1U);
    }
    for (const auto& [kind, use] : kinds)
        if (*std::ranges::max_element(use.second) > std::max(1.0, mostTaken * use.first))
            wrong += code + ": no stand left\n";
    return wrong;
}

TEST(SoftOptions, EachGoesWhereItFits) {
    const RouteFolder folder;
    PackCount count;
    // Wide and narrow ones, a freighter, a light one and a helicopter.
    put("planes.dat", "\"A\",\"320\",\"A320\"\n\"B\",\"77W\",\"B77W\"\n\"C\",\"EC3\",\"EC35\"\n\"D\",\"CNX\",\"C172\"\n"
                      "\"E\",\"321\",\"A321\"\n\"F\",\"CJ2\",\"C25A\"\n");
    std::string rows;
    for (const char* to : {"LHR", "BCN", "AKL", "JFK"})
        rows += fmt::format(
            "LH,1,FRA,1,{0},2,,0,320 321 77W CNX\nGC,5,FRA,1,{0},2,,0,77W\nBA,2,FRA,1,{0},2,,0,320 321 CJ2 EC3\n", to);
    const RouteList list = RouteFolder::read(rows, count);
    const struct {
        const char* name;
        const char* starts;
        const char* used; ///< ids of stands with options
    } cases[] = {
        {"by width",
         "1300 50 8 0 gate jets 1\n1301 A airline\n1300 50.1 8 0 gate jets 2\n1301 C airline\n1300 50.2 8 0 gate heavy "
         "3\n1301 E airline\n",
         "1 2 3 "},
        {"cargo to cargo", "1300 50 8 0 gate heavy 1\n1301 E cargo\n1300 50.1 8 0 gate jets 2\n1301 C cargo\n", "1 "},
        {"a helipad", "1300 50 8 0 misc helos 1\n1301 A airline\n", "1 "},
        {"not for airlines",
         "1300 50 8 0 gate jets 1\n1301 C general_aviation\n1300 50.1 8 0 gate jets 2\n1301 C military\n1300 50.2 8 0 "
         "hangar jets 3\n1301 C airline\n",
         ""},
        {"untold", "1300 50 8 0 gate jets 1\n", "1 "},
        {"marked for an airline",
         "1300 50 8 0 gate jets 1\n1301 C airline xxx\n1300 50.001 8 0 gate jets 2\n1301 C airline dlh baw\n"
         "1300 50.002 8 0 gate jets 3\n1301 C airline dlh baw\n1300 50.003 8 0 gate jets 4\n1301 C airline xxx\n",
         "2 3 "},
        {"one for all", "1300 50 8 0 gate heavy 1\n1301 E airline\n", "1 "},
        {"one wide or two narrow",
         "1300 50 8 0 gate heavy 209\n1301 E airline\n1300 50.0002 8 0 gate jets 209L\n1301 C airline\n1300 49.9998 8 "
         "0 gate jets 209R\n1301 C airline\n",
         nullptr},
    };
    for (const auto& c : cases) {
        std::vector<BadRow> bad;
        const auto airports = parseApt("I\n1100\n\n1 0 0 0 EDDF F\n" + std::string(c.starts), "apt.dat", bad);
        std::vector<AptStart> starts;
        std::vector<Stand> stands = standsOf(airports.at(0), &starts);
        const TypeSizes sizes = RouteFolder::sizes();
        addSoftOptions(stands, starts, staysAt("EDDF", list, sizes, 0), sizes);
        EXPECT_EQ(wrongIn("EDDF", stands, starts, list, sizes), "") << c.name;
        std::string used;
        for (const Stand& stand : stands)
            used += stand.options.empty() ? "" : stand.id + " ";
        if (c.used != nullptr) {
            EXPECT_EQ(used, c.used) << c.name;
        }
        if (std::string_view(c.name) == "by width") {
            EXPECT_EQ(stands[0].options[0].model, "C172");
            EXPECT_EQ(stands[2].options[0].model, "B77W");
            EXPECT_TRUE(std::ranges::none_of(stands[2].options, [](const auto& o) { return o.model == "C172"; }));
        }
    }
}

TEST(SoftOptions, TheCommandWritesTheSameBytesForTheSameLists) {
    const RouteFolder folder;
    put("apt.dat", "I\n1100\n\n1 0 0 0 EDDF F\n1300 50 8 0 gate jets 1\n1301 C airline\n1300 50.1 8 0 gate heavy "
                   "2\n1301 E airline\n"
                   "1 0 0 0 EDDM M\n1300 48 11 0 gate jets 1\n");
    const std::vector<std::string> rows = {"LH,1,FRA,1,LHR,2,,0,320\n", "LH,1,BCN,1,FRA,2,,0,77W 320\n",
                                           "BA,2,LHR,1,FRA,2,,0,320\n", "XX,9,LHR,1,FRA,2,,0,320\n"};
    const fs::path file = "server/MSFS/archive/stock/EDDF.xml";
    const std::vector<std::string> arguments = {"--data",     "data",         "--out",    "server",
                                                "--apt",      "apt.dat",      "--routes", "routes.dat",
                                                "--airlines", "airlines.dat", "--planes", "planes.dat"};
    std::string out, error, first;
    for (const bool turned : {false, true}) {
        put("routes.dat", turned ? rows[3] + rows[2] + rows[1] + rows[0] : rows[0] + rows[1] + rows[2] + rows[3]);
        out.clear();
        ASSERT_EQ(runCommand(arguments, out, error), 0) << error;
        EXPECT_NE(out.find("3 of 4 routes used, 0 left out as codeshares, and 0 services"), std::string::npos) << out;
        EXPECT_NE(out.find("airline \"XX\" is not in airlines.dat"), std::string::npos) << out;
        EXPECT_NE(out.find(" at 1 airport\n"), std::string::npos) << out;
        const std::string text = readBytes(file).value();
        EXPECT_EQ(first.empty() ? text : first, text);
        first = text;
    }
    pugi::xml_document document;
    ASSERT_TRUE(loadXml(document, file));
    AirportFile read;
    std::int32_t week = 0;
    std::vector<Stand> list;
    readBase(document, read, week, list);
    EXPECT_EQ(read.Qf_real, 0);
    EXPECT_EQ(QualityPair(read.Qf_real, read.Qf_soft), qualityOf(list));
    EXPECT_EQ(readBytes("server/MSFS/archive/stock/EDDM.xml").value().find("<opt"), std::string::npos);
    for (const std::size_t without : {1U, 5U, 9U}) { // --data, --apt, --airlines
        std::vector<std::string> less = arguments;
        less.erase(less.begin() + static_cast<std::ptrdiff_t>(without) - 1,
                   less.begin() + static_cast<std::ptrdiff_t>(without) + 1);
        EXPECT_EQ(runCommand(less, out, error), 2) << arguments[without - 1];
    }
}

/// The lists of the world: sound options at every airport, about as many aircraft as really come, and what the program
/// makes of them at Barcelona.
TEST(SoftOptions, TheWorld) {
    const fs::path shared = fs::path(KES_SOURCE_DIR) / "../shared/data", data = fs::path(KES_SOURCE_DIR) / "data";
    if (!fs::exists(shared / "routes/routes.dat.gz") || !fs::exists(shared / "stands/world-stands-2021.apt.dat.gz"))
        GTEST_SKIP() << shared << " is not there";
    PackCount count;
    Sources sources;
    readFirstSources(data, sources, count);
    readOtherSources(data, sources, count);
    const RouteList routes =
        readRoutes({shared / "routes/routes.dat.gz", shared / "routes/airlines.dat.gz", shared / "routes/planes.dat"},
                   sources, *readAirports(data, count), count);
    const TypeSizes sizes(sources);
    EXPECT_GT(count.routesUsed, (count.routes - count.codeshares) * 90 / 100);
    std::vector<BadRow> bad;
    std::size_t with = 0;
    for (const AptAirport& airport : readApt(shared / "stands/world-stands-2021.apt.dat.gz", bad)) {
        std::vector<AptStart> starts;
        std::vector<Stand> list = standsOf(airport, &starts);
        const auto stays = staysAt(airport.code, routes, sizes, gatesIn(starts));
        const std::size_t added = addSoftOptions(list, starts, stays, sizes);
        with += added > 0 ? 1 : 0;
        EXPECT_EQ(wrongIn(airport.code, list, starts, routes, sizes), "");
        if (airport.code != "LEBL")
            continue;
        stands = list;
        giveSids(stands);
        findAdjacent(stands);
        setParameterDefaults();
        setRandomSeed(3);
        for (const int slot : {12, 24, 44}) {
            setHhNow({3, slot});
            clearPlan();
            setWanted();
            runPasses(0);
            EXPECT_EQ(static_cast<std::int32_t>(toPark.size()), wantedParked) << slot;
            EXPECT_GT(std::ranges::count_if(toPark, [](const auto& p) { return p.airline == "VLG"; }), 8) << slot;
        }
        resetPlan();
        stands.clear();
    }
    EXPECT_GT(with, 2000U);
}

} // namespace
} // namespace kes::pack
