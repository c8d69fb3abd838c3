// SPDX-License-Identifier: MIT
// Stands out of scenery files: what is taken of each record, and that no file can do harm.
#include "airports/airport_table.h"
#include "airports/bgl_reader.h"
#include "bgl_file.h"
#include "core/geo.h"
#include "core/units.h"
#include "support.h"

#include <fmt/format.h>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

/// "EDDF 328: A5 20.0 90.0 ramp; message" of each airport.
std::string told(const BglContent& content) {
    std::string text;
    for (const ScanAirport& airport : content.airports) {
        text += text.empty() ? "" : " | ";
        if (!airport.isWhole) {
            text += airport.file.icao + " broken";
            continue;
        }
        text += fmt::format("{} {}:", airport.file.icao, airport.file.altitude);
        for (const Stand& s : airport.file.standList) {
            text += fmt::format(" {} {:.1F} {:.1F}{}{}{}{}", s.id, s.radius * metresPerNm, s.heading * radToDeg,
                                s.ramp ? " ramp" : "", s.cargo ? " cargo" : "", s.heli ? " heli" : "",
                                s.idDoubled ? " doubled" : "");
        }
        for (const std::string& message : airport.messages)
            text += "; " + message;
    }
    for (const std::string& code : content.passedOver)
        text += fmt::format(" ({})", code);
    return text + (content.notRecognised ? " new form" : "") + (content.error.empty() ? "" : " error");
}

std::string told(const std::string& file, bool msfs2024 = false) {
    return told(readBgl(file, "x.bgl", msfs2024));
}

/// What an airport with these positions is read as, without its head.
std::string parkings(const std::vector<BglParking>& list) {
    std::string text = told(bglFile("EDDF", list));
    EXPECT_TRUE(text.starts_with("EDDF 328:")) << text;
    return text.substr(9);
}

TEST(BglReader, TakesWhatAParkingPositionTells) {
    struct Case {
        const char* name;
        std::vector<BglParking> list;
        const char* expected;
    };
    std::vector<BglParking> eight(8);
    for (std::size_t i = 0; i < eight.size(); ++i)
        eight[i].radius = 30.0F + static_cast<float>(i);
    const Case cases[] = {
        {"a gate", {{}}, " A5 20.0 90.0"},
        {"no position", {}, ""},
        {"names",
         {{0, 1}, {1, 2}, {5, 3}, {10, 4}, {11, 5}, {12, 6}, {37, 7}},
         " 1 20.0 90.0 r2 20.0 90.0 sep3 20.0 90.0 g4 20.0 90.0 5 20.0 90.0 A6 20.0 90.0 Z7 20.0 90.0"},
        {"kinds, of which some are for no aircraft",
         {{12, 1, 1}, {12, 2, 5}, {12, 3, 9}, {12, 4, 15}, {12, 5, 0}, {12, 6, 12}, {12, 7, 13}},
         " A1 20.0 90.0 ramp A2 20.0 90.0 ramp cargo A3 20.0 90.0 A4 20.0 90.0"},
        {"radius",
         {{12, 1, 8, 2, 1.0F}, {12, 2, 8, 0, 1.1F}, {12, 3, 8, 0, 199.9F}, {12, 4, 8, 0, 200}, {12, 5, 8, 0, NAN}},
         " A2 1.1 90.0 A3 199.9 90.0; skipped position with radius 1.0 meters, in x.bgl; skipped position with radius "
         "200.0 meters, in x.bgl; skipped position with radius NAN meters, in x.bgl"},
        {"heading",
         {{12, 1, 8, 0, 20, 0}, {12, 2, 8, 0, 20, 359.5F}, {12, 3, 8, 0, 20, INFINITY}},
         " A1 20.0 360.0 A2 20.0 359.5 A3 20.0 360.0"},
        {"place", // the last but one is a hair beyond the corner
         {{12, 1, 8, 1, 20, 90, 0.0005, 0.01},
          {12, 2, 8, 0, 20, 90, -95, 8},
          {12, 3, 8, 0, 20, 90, 8, 181},
          {12, 4, 8, 0, 20, 90, 0.0005, 0.0501},
          {12, 5, 8, 0, 20, 90, -33.9, -70.8}},
         " A4 20.0 90.0 A5 20.0 90.0; lat/lon: 0.000500,0.010000, incorrect (skipped) ; lat/lon: -95.000000,8.000000, "
         "incorrect (skipped) ; lat/lon: 8.000000,181.000000, incorrect (skipped) "},
        {"a skipped position takes no id",
         {{12, 5, 8, 0, 0.5F}, {12, 5, 12}, {}},
         " A5 20.0 90.0; skipped position with radius 0.5 meters, in x.bgl"},
        {"three of an id",
         {{}, {12, 6}, {12, 5, 8, 0, 30}, {12, 5, 8, 0, 25}},
         " A5b 20.0 90.0 A6 20.0 90.0 A5 30.0 90.0 A5a 25.0 90.0"},
        {"eight of an id", eight,
         " A5f 30.0 90.0 A5e 31.0 90.0 A5d 32.0 90.0 A5c 33.0 90.0 A5b 34.0 90.0 A5a 35.0 90.0 A5 36.0 90.0; "
         "===> Warning more then 6 the same ids A5, in x.bgl"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(parkings(c.list), c.expected) << c.name;
    const BglContent content = readBgl(bglFile("EDDF", {{12, 1, 8, 0, 20, 90, -33.946, 151.177}}), "", false);
    EXPECT_NEAR(content.airports[0].file.standList[0].lat, -33.946, 4e-7);
    EXPECT_NEAR(content.airports[0].file.standList[0].lon, 151.177, 5e-7);
}

TEST(BglReader, WalksRecordsAsTheyLie) {
    airportNames = {{"EDDF", "Frankfurt"}};
    const std::string gate = bglParkings({{}}), pad = bglHelipad(50, 8, 30), pad2 = bglHelipad(50, 8.1, 20);
    const std::string other = bglRecord(25, std::string(42, '\x7f')), deleted = bglRecord(51, std::string(10, '\1'));
    const auto airport = [](const std::string& subRecords) { return bglAirport("EDDF", 100000, subRecords); };
    const std::string plain = airport(gate);
    std::string stuck = airport(bglRecord(25, std::string(42, '\0')) + gate), longer = airport(pad),
                odd = airport(bglRecord(25, "abc") + gate);
    put(stuck, 70, std::uint32_t{3});
    put(longer, 2, static_cast<std::uint32_t>(longer.size() + 400)); // reaches into what follows
    put(odd, 70, std::uint32_t{15});                                 // the rest of 3 bytes does not count
    odd.insert(68 + 9, 3, '\0');
    put(odd, 2, static_cast<std::uint32_t>(odd.size()));
    struct Case {
        const char* name;
        std::string file;
        const char *expected, *expected2024 = nullptr; ///< null: the same
    };
    const Case cases[] = {
        {"others before the parking", bglFile(airport(deleted + other + pad + gate)),
         "EDDF 328: helipad1 15.0 0.0 heli A5 20.0 90.0"},
        {"a second parking record, a helipad behind", bglFile(airport(gate + pad + bglParkings({{12, 6}}))),
         "EDDF 328: A5 20.0 90.0"},
        {"helipads",
         bglFile(airport(pad + pad + pad2 + bglHelipad(0, 0, 10) + bglHelipad(-91, 8, 10) + bglHelipad(49, 8, NAN))),
         "EDDF 328: helipad1 15.0 0.0 heli helipad2 10.0 0.0 heli helipad3 0.0 0.0 heli; double helipad Frankfurt "
         "(skipped) 50.000000,8.000000; lat/lon helipad incorrect (skipped): 0.000000,0.000000; lat/lon helipad "
         "incorrect (skipped): -91.000000,8.000000"},
        {"two airports, each with its own ids",
         bglFile(airport(pad + bglParkings({{}, {}})) + other + bglAirport("2MT1", -6096, pad + gate)),
         "EDDF 328: helipad1 15.0 0.0 heli A5 20.0 90.0 A5a 20.0 90.0 | 2MT1 -20: helipad1 15.0 0.0 heli A5 20.0 90.0"},
        {"elevations",
         bglFile(bglAirport("EDDA", -6404, "") + bglAirport("EDDB", 3048152, "") + bglAirport("EDDC", 3048300, "") +
                 bglAirport("EDDD", 152, "") + bglAirport("EDDE", 153, "")),
         "EDDA 0: | EDDB 10000: | EDDC 0: | EDDD 0: | EDDE 1:"},
        {"identifiers",
         bglFile(bglAirport("N82", 0, gate) + bglAirport("ED F", 0, gate) + bglAirport("EDDFX", 0, gate) +
                 bglAirport("", 0, gate) + plain),
         "EDDF 328: A5 20.0 90.0 (N82) (ED F) (EDDFX) ()"},
        {"the walk runs on beyond its section", bglFile({{3, 0, plain}, {7, 0, ""}}) + plain, "EDDF 328: A5 20.0 90.0"},
        {"sections of other kinds", bglFile({{2, 0, plain}, {3, 0x10000, plain}, {3, 0xFFFEFFFF, plain}, {3, 0, ""}}),
         "EDDF 328: A5 20.0 90.0"},
        {"a sub-record without a size", bglFile(stuck + plain), "EDDF 328: | EDDF 328: A5 20.0 90.0"},
        {"a record without a size", bglFile(std::string("\x19\0\3\0\0\0\0\0", 8) + plain), ""},
        {"sizes that are no multiple of 4", bglFile(odd), "EDDF 328: A5 20.0 90.0"},
        {"a record that says it is longer than the file", bglFile(longer), "EDDF broken error"},
        {"the new form ends the file", bglFile({{3, 0, bglAirport("EDDN", 0, gate, 275)}, {3, 0, plain}}),
         "EDDF 328: A5 20.0 90.0", " new form"},
        {"the new form", bglFile(plain + bglAirport("EDDN", 0, gate, 275) + bglAirport("EDDM", 0, gate)),
         "EDDF 328: A5 20.0 90.0 | EDDM 0: A5 20.0 90.0", "EDDF 328: A5 20.0 90.0 new form"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(told(c.file), c.expected) << c.name;
        EXPECT_EQ(told(c.file, true), c.expected2024 ? c.expected2024 : c.expected) << c.name;
    }
    dropAirportNames();
}

TEST(BglReader, IsBoundedByTheSizeOfTheFile) {
    const std::string airport = bglAirport("EDDF", 0, bglParkings({{}}));
    const std::string file = bglFile(airport);
    struct Case {
        const char* name;
        std::size_t at;
        std::uint32_t value;
        const char* expected;
    };
    constexpr std::size_t section = 56, subsection = 76, record = 92, parking = record + 68;
    for (const Case& c : {Case{"header", 4, 57, ""}, // and no other of its fields
                          {"sections", 20, 0xFFFFFFFF, "EDDF 0: A5 20.0 90.0 error"},
                          {"place of the subsection", section + 12, 0xFFFFFFFF, " error"},
                          {"just behind the end", section + 12, static_cast<std::uint32_t>(file.size()), " error"},
                          {"place of the record", subsection + 8, 0xFFFFFFF0, ""},
                          {"record size", record, 0xFFFF0056, "EDDF 0: A5 20.0 90.0"},
                          {"record size, high half", record + 4, 0xFFFF, "EDDF 0: A5 20.0 90.0"},
                          {"positions", parking + 4, 0xFFFF0000, "EDDF broken error"}}) {
        std::string broken = file;
        put(broken, c.at, c.value);
        EXPECT_EQ(told(broken), c.expected) << c.name;
    }
    // All sections lead to the same records, and all records to the same positions.
    std::string records;
    for (int i = 0; i < 2000; ++i)
        records += bglRecord(1, "ab");
    for (const std::size_t sections : {10, 100}) {
        std::vector<BglSection> list(sections, {3, 0, ""});
        list.front().records = records;
        std::string repeated = bglFile(list);
        for (std::size_t i = 1; i < sections; ++i)
            repeated.replace(section + 20 * i + 12, 4, repeated, section + 12, 4);
        EXPECT_EQ(readBgl(repeated, "", false).error, sections == 10 ? "" : "its records hold each other");
    }
    std::vector<BglParking> many(5001);
    for (std::uint32_t i = 0; i < many.size(); ++i)
        many[i] = {i / 4096 + 12, i % 4096};
    EXPECT_EQ(readBgl(bglFile("EDDF", many), "", false).error, "more than 5000 stands");
}

TEST(BglReader, TheQuickTestLooksAtTheTableOnly) {
    const TempFolder folder;
    std::vector<BglSection> sections(700, {7, 0, ""}); // a table of more than two blocks
    const std::string without = bglFile(sections);
    sections.back().type = 3;
    std::string exact = bglFile("EDDF", {{}}).substr(0, 76);
    std::string huge = bglFile("EDDF", {{}});
    put(huge, 20, std::uint32_t{0x0CCCCCCD}); // times 20 is little in 32 bits
    struct Case {
        const char* name;
        std::string bytes;
        bool expected;
    };
    for (const Case& c : {Case{"empty", "", false},
                          {"14 bytes", std::string(14, '\3'), false},
                          {"55 bytes", std::string(55, '\0'), false},
                          {"no sections", bglFile(std::vector<BglSection>()) + "xxxxxxxxxxxxxxxxxxxxxxxxx", false},
                          {"one for airports", bglFile("EDDF", {{}}), true},
                          {"of any flags", bglFile({{1, 0, ""}, {3, 0x10000, ""}}), true},
                          {"the table ends with the file", exact, false},
                          {"one byte more", exact + "x", true},
                          {"a long table", bglFile(sections), true},
                          {"a long table without", without, false},
                          {"more sections than bytes", huge, false}}) {
        EXPECT_EQ(hasAirportSection(folder.write("a.bgl", c.bytes).string()), c.expected) << c.name;
    }
    EXPECT_FALSE(hasAirportSection((folder.path / "none.bgl").string()));
    EXPECT_FALSE(hasAirportSection(folder.path.string()));

    EXPECT_EQ(told(lf_toParkingPositions((folder.path / "none.bgl").string(), false)), "");
    const std::string odd = bglFile(bglAirport("EDDF", 0, bglParkings({{}}))) + "xy";
    EXPECT_EQ(told(lf_toParkingPositions(folder.write("odd.bgl", odd).string(), false)), "EDDF 0: A5 20.0 90.0 error");
    const fs::path zeros = folder.write("zeros.bgl", "");
    fs::resize_file(zeros, mostBglBytes + 1); // takes no room on the disk
    EXPECT_FALSE(hasAirportSection(zeros.string()));
    EXPECT_EQ(told(lf_toParkingPositions(zeros.string(), false)), " error");
}

} // namespace
} // namespace kes::test
