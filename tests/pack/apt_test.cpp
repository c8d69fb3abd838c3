// SPDX-License-Identifier: MIT
// Stock airport files out of airport layouts.
#include "airports/airport_xml.h"
#include "core/xml_file.h"
#include "support.h"
#include "tools/pack/apt.h"
#include "tools/pack/command.h"

#include <fmt/format.h>
#include <zlib.h>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

std::vector<AptAirport> parse(const std::string& rows, std::vector<BadRow>* bad = nullptr) {
    std::vector<BadRow> ignored;
    return parseApt("I\n1100 Made by hand\n\n" + rows, "apt.dat", bad != nullptr ? *bad : ignored);
}

TEST(Apt, StandsAreNamedAsSpottersDo) {
    const std::pair<const char*, const char*> names[] = {{"Terminal 1 Gate 247", "247"},
                                                         {"Dock A Gate 08", "A08"},
                                                         {"Maintenance Apron T 55", "T55"},
                                                         {"Cargo Apron 19b", "19B"},
                                                         {"Stand 12 (A380)", "12"},
                                                         {"Mil Ramp Tiedown 5-3", "5-3"},
                                                         {"Apron CEV", "CEV"},
                                                         {"Main Ramp", "Main Ramp"},
                                                         {"", ""},
                                                         {"Gate", "Gate"},
                                                         {"Emirates Academy Shelter 54W", "54W"}};
    for (const auto& [name, id] : names)
        EXPECT_EQ(spotterId(name), id) << name;
}

TEST(Apt, ARunwayHasItsTwoEnds) {
    const auto airports =
        parse("1 12 1 0 LEBL Barcelona\n"
              "100 60.05 1 0 0.00 1 3 0 07L  41.29  002.06 427 0 3 2 1 1 25R  41.31 002.10 0 0 3 2 1 1\n"
              "100 60.05 1 0 0.00 1 3 0 02 41.28\n");
    ASSERT_EQ(airports.at(0).runways.size(), 1U);
    const AptRunway& r = airports[0].runways[0];
    EXPECT_EQ(fmt::format("{} {} {} {} {} {}", r.name, r.width, r.first.lat, r.first.lon, r.second.lat, r.second.lon),
              "07L/25R 60.05 41.29 2.06 41.31 2.1");
}

TEST(Apt, RowsBecomeStands) {
    struct Case {
        const char* rows;
        const char* stand; ///< "id radius kinds"
    };
    const Case cases[] = {
        {"1300 50 8 0 gate heavy|jets Gate 1\n1301 F airline dlh", "1 40.0"},
        {"1300 50 8 0 tie_down jets Stand 1\n1301 D cargo", "1 26.0 cargo ramp"},
        {"1300 50 8 0 gate props GA 1\n1301 B general_aviation", "1 12.0 ramp"},
        {"1300 50 8 0 misc helos Pad 1\n1301 A none", "1 7.5 ramp heli"},
        {"1300 50 8 0 gate heavy|jets Gate 1", "1 32.5"},
        {"1300 50 8 0 gate jets|turboprops Cargo 1", "1 18.0 cargo"},
        {"1300 50 8 0 tie_down turboprops|props Apron 1", "1 12.0 ramp"},
        {"102 H1 50 8 370 30.5 24 2 0 0 0.00 0", "H1 12.0 ramp heli"},
        {"102 H1 50 8 0 58.7 75.1 2", "H1 20.0 ramp heli"},
        {"102 H1 50.0001 8 0 30 30 2\n1300 50 8 0 misc helos Pad 1\n1301 A none", "1 7.5 ramp heli"},
        {"15 50 8 0 Ramp 1\n102 H1 50.0001 8 0 30 30 2", "1 12.0 ramp"},
        {"15 50 8 0 Ramp 1", "1 12.0 ramp"},
        {"15 50 8 0 Ramp 9\n1300 50 8 0 gate jets Gate 1", "1 18.0"},
    };
    for (const Case& c : cases) {
        const auto airports = parse("1 100 0 0 EDXX Xdorf\n" + std::string(c.rows) + "\n99\n1 0 0 0 AFTR After\n");
        ASSERT_EQ(airports.size(), 1U) << c.rows;
        const auto list = standsOf(airports[0]);
        ASSERT_EQ(list.size(), 1U) << c.rows;
        const Stand& s = list[0];
        EXPECT_EQ(fmt::format("{} {:.1f}{}{}{}", s.id, s.radius * metresPerNm, s.cargo ? " cargo" : "",
                              s.ramp ? " ramp" : "", s.heli ? " heli" : ""),
                  c.stand)
            << c.rows;
    }
}

TEST(Apt, DoubledIdsAreToldApart) {
    const auto airports = parse("1 100 0 0 EDXX Xdorf\r\n"
                                "1300 50 8 -90 gate jets Terminal 1 Gate 5\r\n1301 C airline\r\n"
                                "1300 50.01 8 370 gate jets Terminal 2 Gate 5\r\n1301 C airline\r\n"
                                "1300 50.02 8 0 gate jets Stand 5\r\n1300 50.03 8 0 gate jets Stand 5\r\n"
                                "1300 50.03 8 0 gate jets Stand 5\r\n" // entered twice
                                "1300 50.0301 8 0 gate jets Stand 209\r\n1300 50.0302 8 0 gate jets Stand 209L\r\n"
                                "1300 50.04 8 0 gate jets 5-2\r\n1300 50.05 8 0 misc jets\r\n");
    const auto list = standsOf(airports.at(0));
    std::string ids;
    for (const Stand& stand : list)
        ids += stand.id + ",";
    EXPECT_EQ(ids, "T1 5,T2 5,5,5-3,209,209L,5-2,8,");
    EXPECT_NEAR(list[0].heading, 1.5 * pi, 1e-9);
    EXPECT_NEAR(list[1].heading, 10 * degToRad, 1e-9);
}

TEST(Apt, BadRowsCostThemselvesOnly) {
    std::vector<BadRow> bad;
    const auto airports =
        parse("1301 C airline\n1 x 0 0 ABCD A\n1302 icao_code EDYY\n1300 50 8 gate jets Gate 1\n1301 C "
              "airline\n1300 95 8 0 gate jets Gate 2\n1300 50 8 0 gate jets Gate 3\n1301 Z airline\n"
              "102 H1 50 8 0 wide 3\n",
              &bad);
    ASSERT_EQ(airports.size(), 1U);
    EXPECT_EQ(airports[0].code, "EDYY");
    EXPECT_EQ(standsOf(airports[0]).size(), 1U);
    std::string text;
    for (const BadRow& row : bad)
        text += fmt::format("{} {};", row.line, row.reason);
    EXPECT_EQ(text, "5 no elevation;7 no position or heading;9 no position or heading;11 \"Z\" is no width code;"
                    "12 a helipad without a size;");
    EXPECT_THROW(parseApt("PK\x03\x04", "x.zip", bad), std::runtime_error);
}

TEST(Apt, FilesOfTheUpdateServerAreWritten) {
    const test::ProgramFolder folder;
    const auto put = [](const char* file, const std::string& rows) {
        const std::string text = "I\n1100 Version\n" + rows + "99\n";
        const gzFile out = gzopen(file, "wb");
        gzwrite(out, text.data(), static_cast<unsigned>(text.size()));
        gzclose(out);
    };
    put("one.gz", "1 83 0 0 EGLL London & Heathrow\n1300 51.47 -0.46 90 gate jets Gate 1\n1301 C airline\n"
                  "17 0 0 0 [H] Pad\n1300 51 0 0 misc helos H1\n1 5 0 0 EMTY Nothing\n");
    put("two.gz", "1 99 0 0 EGLL Other\n1300 51.47 -0.46 90 gate jets Gate 9\n1 7 0 0 LEBL Barcelona\n"
                  "1300 41.3 2.1 90 gate jets Gate 2\n");
    std::string out, error;
    ASSERT_EQ(runCommand({"--apt", "one.gz", "--apt", "two.gz", "--out", "server"}, out, error), 0) << error;
    EXPECT_NE(out.find("2 stock airport files with 2 stands; 2 airports without a stand or in a layout before, 1 "
                       "without a code"),
              std::string::npos)
        << out;
    pugi::xml_document document;
    ASSERT_TRUE(loadXml(document, "server/MSFS/archive/stock/EGLL.xml"));
    AirportFile file;
    std::int32_t week = 0;
    std::vector<Stand> list;
    readBase(document, file, week, list);
    EXPECT_EQ(file.airport_name + file.publisher + std::to_string(file.altitude), "London & Heathrowstock83");
    EXPECT_EQ(list.at(0).id, "1");
    EXPECT_EQ(std::distance(fs::directory_iterator("server/MSFS/archive/stock"), fs::directory_iterator()), 2);
    EXPECT_EQ(runCommand({"--apt", "none.gz", "--out", "server"}, out, error), 1);
}

} // namespace
} // namespace kes::pack
