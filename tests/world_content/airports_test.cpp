// SPDX-License-Identifier: MIT
#include "airports/park_airports.h"
#include "content_folder.h"
#include "feed/traffic_reader.h"

#include <fmt/format.h>
#include <map>
#include <random>

namespace kes::test {
namespace {

TEST(AirportTable, FaultsKeepTheRowsBefore) {
    struct Case {
        const char* text;  ///< null = no file
        const char* table; ///< "code alt lat lon iata;" of each row
        const char* line;
    };
    const char* badRow =
        "<airports><airport code='EDDM' alt='1487' lat='48.35' lon='11.79' iata='MUC'/>"
        "<airport code='AAAA' alt='x12' lat='1' lon='2'/><airport code='BBBB' alt='1' lat='1' lon='2'/></airports>";
    const Case cases[] = {
        {nullptr, "", "input/airports_msfs.xml not loaded "},
        {"", "", "input/airports_msfs.xml not loaded "},
        {"<airports><airport", "", "input/airports_msfs.xml not loaded "},
        {"<AirportNames/>", "", "input/airports_msfs.xml not found"},
        {"<airports/>", "", "0 airports read from \"input/airports_msfs.xml\""},
        {badRow, "EDDM 1487 48.35 11.79 MUC;", "invalid stod argument"},
        {"<airports><airport code='EDDM' alt='1' lat='1e999' lon='2'/></airports>", "", "stod argument out of range"},
        {"<airports><airport code='EDDM' alt='1' lat='1'/></airports>", "", "invalid stod argument"},
        {"<airports><airport code='EDDM' alt='+1' lat='--1' lon='2'/></airports>", "", "invalid stod argument"},
        {"<airports><heli code='X'/><airport code='ZZZZ' alt=' -12.5ft' lat='+1.5' lon='-.5e1'/>"
         "<airport code='AAAA' alt='0x10' lat='0' lon='0' iata='AAA'/></airports>",
         "AAAA 16 0 0 AAA;ZZZZ -12.5 1.5 -5 ;", "2 airports read from \"input/airports_msfs.xml\""},
    };
    for (const Case& c : cases) {
        EmptyFolder folder;
        if (c.text)
            putFile("input/airports_msfs.xml", c.text);
        EXPECT_EQ(readAirportTable(), *c.table != 0) << c.line;
        std::string table;
        for (const AirportEntry& e : airportTable)
            table += fmt::format("{} {} {} {} {};", e.code, e.alt, e.lat, e.lon, e.iata);
        EXPECT_EQ(table, c.table) << c.line;
        EXPECT_TRUE(folder.logHas(c.line)) << c.line << folder.logText();
        putFile("input/airports_msfs.xml", "<airports><airport code='LATE' alt='1' lat='1' lon='1'/></airports>");
        EXPECT_EQ(readAirportTable(), *c.table != 0) << "the file is read only once";
        EXPECT_FALSE(findAirport("LATE"));
    }
}

TEST(AirportTable, NearestAgreesWithBruteForce) {
    ContentFolder content;
    ASSERT_TRUE(readAirportTable());
    std::mt19937 random(7);
    std::uniform_real_distribution<double> lat(-89.9, 89.9), lon(-180, 180), limit(1, 900), near(-0.3, 0.3);
    int found = 0, none = 0;
    for (int i = 0; i < 600; ++i) {
        LatLon position{lat(random), lon(random)};
        if (i % 2 == 0) { // half of them beside an airport
            const AirportEntry& entry = airportTable[random() % airportTable.size()];
            position = {entry.lat + near(random), entry.lon + near(random)};
        }
        const double within = limit(random);
        const AirportEntry* best = nullptr;
        double bestNm = within;
        for (const AirportEntry& entry : airportTable) {
            const double d = distanceNm(position, {entry.lat, entry.lon});
            if (d <= within && (!best || d < bestNm)) {
                bestNm = d;
                best = &entry;
            }
        }
        const auto nearest = nearestAirport(position, within);
        ASSERT_EQ(nearest.has_value(), best != nullptr) << position.lat << " " << position.lon << " " << within;
        if (best) {
            EXPECT_EQ(nearest->code, best->code);
        }
        ++(best ? found : none);
    }
    EXPECT_GT(found, 100);
    EXPECT_GT(none, 50);
}

TEST(AirportTable, StandsDecideBetweenNeighbours) {
    struct Case {
        const char* name;
        std::vector<std::pair<const char*, double>> airports; ///< code and distance, in the order of the table
        std::map<std::string_view, double> stands;            ///< distance of the closest one, nautical miles
        const char *code, *line;                              ///< expected; null = none
    };
    const Case cases[] = {
        {"at the limit", {{"AAAA", 4.9999}}, {}, "AAAA", nullptr},
        {"beyond it", {{"AAAA", 5.01}}, {}, nullptr, nullptr},
        {"no stands known", {{"AAAA", 4}, {"BBBB", 3}}, {}, "BBBB", "Airport BBBB is closest, neighbour is AAAA"},
        {"the former holder is the neighbour",
         {{"AAAA", 4}, {"BBBB", 3}, {"CCCC", 3.5}},
         {{"CCCC", 0.1}, {"BBBB", 2}},
         "BBBB",
         "Airport BBBB is closest, neighbour is AAAA"},
        {"the second at the same distance is none", {{"AAAA", 3}, {"BBBB", 3}}, {{"BBBB", 0.1}}, "AAAA", nullptr},
        {"a stand as far as the own", {{"AAAA", 4}, {"BBBB", 3}}, {{"AAAA", 1}, {"BBBB", 1}}, "BBBB", nullptr},
        {"a nearer stand",
         {{"AAAA", 4}, {"BBBB", 3}},
         {{"AAAA", 0.5}, {"BBBB", 1}},
         "AAAA",
         "Airport BBBB is closest, but stand S-AAAA at neighbouring airport AAAA is closest at 926 meters ..."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EmptyFolder folder;
        airportTable.clear();
        for (const auto& [code, miles] : c.airports)
            airportTable.push_back({code, "", 50.0 + miles / 60.0, 8.0, 0});
        const auto found = closestAirport({50.0, 8.0}, [&](std::string_view code, LatLon, std::string& stand) {
            stand = "S-" + std::string(code);
            const auto it = c.stands.find(code);
            return it == c.stands.end() ? 100.0 : it->second;
        });
        EXPECT_EQ(found ? found->code : "none", c.code ? c.code : "none");
        EXPECT_TRUE(!c.line || folder.logHas(c.line)) << folder.logText();
    }
    EXPECT_FALSE(closestAirport({-50.0, 8.0}));
}

TEST(AirportTable, NamesAreThereForAScanOnly) {
    EmptyFolder folder;
    readAirportNames();
    EXPECT_TRUE(airportNames.empty());
    EXPECT_TRUE(folder.logHas("0 airport names read from \"input/airports_msfs_names.xml\""));
    putFile("input/airports_msfs_names.xml",
            "<AirportNames><airport ICAO='EDDM' name='M&amp;nchen'/><airport ICAO='EDDM' name='again'/>"
            "<airport ICAO='EGLL' name='Heathrow'/></AirportNames>");
    readAirportNames();
    EXPECT_EQ(airportNames.size(), 2u);
    EXPECT_EQ(airportNames.find("EDDM")->second, "M&nchen") << "the first one counts";
    dropAirportNames();
    EXPECT_TRUE(airportNames.empty());
}

TEST(ReferenceAirport, IsTheNextOfTheUsersList) {
    ContentFolder content;
    ASSERT_TRUE(readAirportTable());
    putFile(path::myParkAirports, "EDDM\nKLGA\n");
    ASSERT_TRUE(lf_readMyParkAirports());
    const auto fly = [](double lat, double lon) {
        userAircraft.lat = lat;
        userAircraft.lon = lon;
        setAirportRef(std::nullopt);
        parkingTick(false);
        return airportRef ? airportRef->code : std::string();
    };
    EXPECT_EQ(fly(0, 0), "") << "no flight is loaded";
    EXPECT_EQ(referenceElevation(), -1000);
    EXPECT_EQ(fly(48.40, 11.70), "EDDM");
    EXPECT_EQ(airportRef->iata, "MUC");
    EXPECT_EQ(referenceElevation(), 1487);
    ASSERT_TRUE(trafficReader.inputs().airport);
    EXPECT_EQ(trafficReader.inputs().airport->elevation, 1487);
    EXPECT_EQ(fly(40.70, -74.00), "KLGA");
    EXPECT_EQ(fly(45.0, -40.0), "");
    EXPECT_FALSE(trafficReader.inputs().airport);
    EXPECT_EQ(standNameAt(48.3538 + 4.9 / 60, 11.7861), "EDDM") << "an airport without stands";
}

} // namespace
} // namespace kes::test
