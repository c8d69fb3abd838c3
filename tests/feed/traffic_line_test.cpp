// SPDX-License-Identifier: MIT
#include "feed_test.h"

#include <fmt/format.h>
#include <tuple>

namespace kes::test {
namespace {

using Changes = std::vector<std::pair<std::size_t, std::string>>;

class TrafficLineTest : public FeedTest {};

TEST_F(TrafficLineTest, KeepsEveryValueOfAFullLine) {
    tickCount = 1234;
    feed(trafficReader, feedLine());
    const auto reports = takeReports();
    ASSERT_EQ(reports.size(), 1U);
    const AircraftReport& r = reports[0];
    EXPECT_EQ(
        fmt::format("{} {} {} {} {}>{} {:.1f}", r.hexid, r.callsign, r.model, r.regcode, r.orig, r.dest, r.timestamp),
        "4843221 KES42 A320 EC-KES LEMD>LEBL 1700000000.5");
    EXPECT_EQ(r.airline + r.coupledCs1 + r.coupledCs2, "");
    const PositionSample& s = r.sample;
    const double values[] = {
        s.lat, s.lon, s.alt, s.vs, s.track, s.gs, s.tas, s.bank / degToRad, s.trueHeading / degToRad};
    EXPECT_EQ(fmt::format("{:.9g}", fmt::join(values, " ")), "41.5 2.1 12375 -1376 246.5 310.2 352 2.5 245");
    EXPECT_EQ(std::tuple(s.bankValid, s.trueHeadingValid, s.adsbHeading, s.airborne, s.stopped),
              std::tuple(true, true, true, true, false));
    EXPECT_EQ(s.tick, 4234);
    EXPECT_DOUBLE_EQ(trafficReader.timestamp, 1700000000.5);
    EXPECT_TRUE(logLines().empty());
    tickCount = 0;
}

enum Outcome { kept, dropped, rejected };
struct LineCase {
    const char* what;
    Changes changes;
    Outcome outcome;
    std::string complaint = {}; // behind "exception in processLine: "
    std::size_t fieldCount = 44;
};

TEST_F(TrafficLineTest, KeepsDropsOrRejects) {
    const std::string nul("KE\0S", 4);
    const LineCase cases[] = {
        {"42 fields of the older dialect", {}, kept, "", 42},
        {"29 fields are enough", {}, kept, "", 29},
        {"28 fields", {}, dropped, "", 28},
        {"an empty 29th field is not counted", {{28, ""}}, dropped, "", 29},
        {"9 fields with another tag", {{0, "RTPARK"}}, dropped, "", 9},
        {"the tag is not read", {{0, ""}}, kept},
        {"too short comes before unreadable", {{14, "x"}}, dropped, "", 20},
        {"vehicle", {{9, "FOLLOW VEH"}}, dropped},
        {"vehicle anywhere", {{43, "x VEHx"}}, dropped},

        {"time empty", {{14, ""}}, rejected, "timestamp:"},
        {"time null", {{14, "null"}}, rejected, "timestamp:null"},
        {"time not a number", {{14, "NaN"}}, rejected, "timestamp:NaN"},
        {"time infinite", {{14, "inf"}}, rejected, "timestamp:inf"},
        {"time beyond any calendar", {{14, "1e300"}}, rejected, "timestamp:1e300"},
        {"time comes before latitude", {{14, "-"}, {2, "x"}}, rejected, "timestamp:-"},
        {"text behind a number is ignored", {{14, "1700000000s"}, {4, "12375ft"}, {8, "310 kn"}}, kept},

        {"latitude null", {{2, "null"}}, rejected, "lat:null"},
        {"latitude with a plus", {{2, "+41.5"}}, rejected, "lat:+41.5"},
        {"latitude with a blank", {{2, " 41.5"}}, rejected, "lat: 41.5"},
        {"latitude out of a double's range", {{2, "1e999"}}, rejected, "lat:1e999"},
        {"longitude empty", {{3, ""}}, rejected, "lon:"},
        {"latitude before longitude", {{2, "a"}, {3, "b"}}, rejected, "lat:a"},
        {"latitude too large", {{2, "90.1"}}, rejected, "lalo:90.100000,2.100000"},
        {"longitude too small", {{3, "-180.5"}}, rejected, "lalo:41.500000,-180.500000"},
        {"latitude nan", {{2, "nan"}}, rejected, "lalo:nan,2.100000"},
        {"latitude infinity", {{2, "-INFINITY"}}, rejected, "lalo:-inf,2.100000"},
        {"longitude nan", {{3, "nan"}}, rejected, "lalo:41.500000,nan"},
        {"start-up box", {{2, "0.0005"}, {3, "0.01"}}, rejected, "lalo:0.000500,0.010000"},
        {"corner of the start-up box", {{2, "0.0009"}, {3, "0.05"}}, rejected, "lalo:0.000900,0.050000"},
        {"beside the start-up box, far away", {{2, "0.001"}, {3, "0.01"}}, dropped},
        {"pole, far away", {{2, "90"}, {3, "180"}}, dropped},

        {"in range", {{2, "41.96"}}, kept},
        {"out of range", {{2, "41.97"}}, dropped},
        {"out of range hides what is unreadable", {{2, "51"}, {4, "null"}, {1, "x"}}, dropped},

        {"registration of 12", {{11, "ABCDEFGHIJKL"}}, kept},
        {"registration of 13", {{11, "ABCDEFGHIJKLM"}}, dropped},
        {"no registration, callsign", {{11, "null"}}, kept},
        {"no callsign, registration", {{9, "null"}}, kept},
        {"empty callsign, registration", {{9, ""}}, kept},
        {"neither", {{9, "null"}, {11, "null"}}, dropped},
        {"neither, both empty", {{9, ""}, {11, ""}}, dropped},
        {"callsign with @ is none", {{9, "@@@@@@@@"}, {11, "null"}}, dropped},
        {"callsign with @, registration", {{9, "K@1"}}, kept},
        {"test callsign", {{9, "ERARMTR0"}}, dropped},
        {"test callsign of an airport", {{9, "AIRPORT1"}}, dropped},
        {"like a test callsign", {{9, "AIRPORT12"}}, kept},

        {"no type", {{10, "null"}}, dropped},
        {"type 0", {{10, "0"}}, dropped},
        {"type ZZZZ", {{10, "ZZZZ"}}, dropped},
        {"empty type", {{10, ""}}, dropped},
        {"excluded category", {{28, "C1"}}, dropped},
        {"the filters by kind come before the address", {{28, "C1"}, {1, "x"}}, dropped},

        {"heading null", {{25, "null"}}, rejected, "true heading:null"},
        {"heading nan", {{25, "nan"}}, rejected, "true heading:nan"},
        {"heading infinite", {{25, "inf"}}, rejected, "true heading:INF"},
        {"heading too large", {{25, "360.5"}}, rejected, "true heading:360.50"},
        {"heading not trusted is not read", {{17, "F_adsb_icao"}, {25, "null"}}, kept},
        {"heading below 0", {{25, "-1"}}, kept},

        {"address in letters", {{1, "x1"}}, rejected, "hexid incorrectx1"},
        {"address empty", {{1, ""}}, rejected, "hexid incorrect"},
        {"address negative", {{1, "-20000"}}, rejected, "hexid incorrect-20000"},
        {"address beyond 32 bits", {{1, "4294967296"}}, rejected, "hexid incorrect4294967296"},
        {"largest address", {{1, "4294967295"}}, kept},
        {"address in hexadecimal", {{1, "76cd72"}}, dropped},
        {"static address", {{1, "10000"}}, dropped},
        {"first live address", {{1, "10001"}}, kept},
        {"address before speed", {{1, "x"}, {8, "x"}}, rejected, "hexid incorrectx"},

        {"speed null", {{8, "null"}}, rejected, "gs:null"},
        {"speed infinite", {{8, "inf"}}, rejected, "gs:inf"},
        {"fastest", {{8, "2500"}, {20, "2500"}}, kept},
        {"faster", {{8, "2500.1"}}, rejected, "gs:2500.1"},
        {"slower than unknown", {{8, "-1.1"}}, rejected, "gs:-1.1"},
        {"speed unknown, at the airport", {{8, "-1"}, {2, "41.3"}}, kept},
        {"highest", {{4, "100000"}}, kept},
        {"higher",
         {{8, "2e3"}, {4, "100000.5"}},
         rejected,
         "altitude 100000.5 incorrect, from: " + feedLine({{8, "2e3"}, {4, "100000.5"}})},
        {"far below the sea, at the airport", {{4, "-99999"}, {2, "41.3"}}, kept},
        {"in the middle of the earth",
         {{4, "-1e7"}},
         rejected,
         "altitude -1e7 incorrect, from: " + feedLine({{4, "-1e7"}})},
        {"altitude null", {{4, "null"}}, rejected, "altitude null incorrect, from: " + feedLine({{4, "null"}})},
        {"altitude nan", {{4, "nan"}}, rejected, "altitude nan incorrect, from: " + feedLine({{4, "nan"}})},
        {"speed before altitude", {{4, "x"}, {8, "x"}}, rejected, "gs:x"},

        {"track empty", {{7, ""}}, kept},
        {"track null", {{7, "null"}}, rejected, "track incorrect null"},
        {"track nan", {{7, "-nan"}}, rejected, "track incorrect -nan"},
        {"track once round", {{7, "-360"}}, kept},
        {"track more than once round", {{7, "360.1"}}, rejected, "track incorrect 360.1"},
        {"climb empty", {{5, ""}}, rejected, "vs:"},
        {"strongest sink", {{5, "-32640"}}, kept},
        {"stronger sink", {{5, "-32641"}}, rejected, "vs:-32641"},
        {"stronger climb", {{5, "32641"}}, rejected, "vs:32641"},
        {"climb infinite", {{5, "-inf"}}, rejected, "vs:-inf"},
        {"roll null", {{23, "null"}}, rejected, "roll:null"},
        {"roll nan", {{23, "NAN"}}, rejected, "roll:NAN"},
        {"upside down", {{23, "-180"}}, kept},
        {"more than that", {{23, "180.5"}}, rejected, "roll:180.5"},
        {"roll is not read on the ground", {{2, "41.3"}, {4, "0"}, {23, "null"}}, kept},
        {"airspeed null", {{20, "null"}}, rejected, "TAS incorrectnull"},
        {"airspeed absurd", {{20, "2500.5"}}, rejected, "TAS incorrect2500.5"},
        {"airspeed nan", {{20, "nan"}}, rejected, "TAS incorrectnan"},

        {"on the ground at the airport", {{2, "41.38"}, {4, "0"}}, kept},
        {"on the ground elsewhere", {{2, "41.39"}, {4, "0"}}, dropped},
        {"high and slow is on the ground, elsewhere", {{4, "15000"}, {8, "30"}}, dropped},

        {"callsign with a control character", {{9, nul}}, dropped},
        {"type that is not ASCII", {{10, "A3\xC3\xA4"}}, dropped},
        {"overlong callsign", {{9, std::string(33, 'K')}}, dropped},
        {"overlong origin is none", {{12, std::string(5000, 'K')}}, kept},
        {"binary tail is not read", {{43, "\x01\xFF"}}, kept},
    };
    std::size_t logCount = 0;
    for (const LineCase& c : cases) {
        SCOPED_TRACE(c.what);
        feed(trafficReader, feedLine(c.changes, c.fieldCount));
        EXPECT_EQ(takeReports().size(), c.outcome == kept ? 1U : 0U);
        const auto lines = logLines();
        ASSERT_EQ(lines.size(), logCount + (c.outcome == rejected ? 1U : 0U));
        EXPECT_TRUE(c.outcome != rejected || lines.back() == "exception in processLine: " + c.complaint)
            << lines.back();
        logCount = lines.size();
    }
}

TEST_F(TrafficLineTest, DerivesValues) {
    const auto track = [](const AircraftReport& r) { return r.sample.track; };
    const auto tas = [](const AircraftReport& r) { return r.sample.tas; };
    const auto heading = [](const AircraftReport& r) {
        return r.sample.trueHeadingValid && r.sample.adsbHeading ? r.sample.trueHeading : -99;
    };
    const auto bank = [](const AircraftReport& r) { return r.sample.bankValid ? r.sample.bank : -99; };
    const auto airborne = [](const AircraftReport& r) { return r.sample.airborne ? r.sample.alt : -99; };
    const struct {
        const char* what;
        Changes changes;
        std::function<double(const AircraftReport&)> value;
        double expected;
    } cases[] = {
        {"heading north", {{25, "0"}}, heading, twoPi},
        {"heading minus zero", {{25, "-0.0"}}, heading, twoPi},
        {"heading 360", {{25, "360"}}, heading, twoPi},
        {"heading unknown", {{25, "-1"}}, heading, -99},
        {"heading of another source", {{17, "mlat"}}, heading, -99},
        {"track unknown takes the heading", {{7, "0"}, {25, "90"}}, track, 90},
        {"track empty takes the heading", {{7, ""}, {25, "90"}}, track, 90},
        {"track unknown, heading north", {{7, "0.00"}, {25, "0"}}, track, 360},
        {"track unknown, no heading", {{7, "0"}, {17, "mlat"}}, track, 0},
        {"roll to the right", {{23, "20"}}, bank, -20 * degToRad},
        {"roll unknown", {{23, "-1"}}, bank, -99},
        {"roll level", {{23, "0.0"}}, bank, -99},
        {"roll on the ground", {{2, "41.3"}, {4, "0"}, {23, "5"}}, bank, -99},
        {"airspeed at the ground", {{2, "41.3"}, {4, "0"}, {20, "-1"}}, tas, 180},
        {"airspeed at 2000", {{4, "2000"}, {20, "-1"}}, tas, 180},
        {"airspeed at 2001", {{4, "2001"}, {20, "-1"}}, tas, 220},
        {"airspeed at 5000", {{4, "5000"}, {20, "-1.0"}}, tas, 220},
        {"airspeed at 10000", {{4, "10000"}, {20, "-1"}}, tas, 250},
        {"airspeed at 20000", {{4, "20000"}, {20, "-1"}}, tas, 350},
        {"airspeed above", {{4, "20001"}, {20, "-1"}}, tas, 430},
        {"airspeed 0 stays", {{20, "0"}}, tas, 0},
        {"low and fast", {{4, "1200"}, {8, "130"}}, airborne, 1200},
        {"low and slow", {{2, "41.3"}, {4, "1200"}, {8, "70"}}, airborne, -99},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        feed(trafficReader, feedLine(c.changes));
        const auto reports = takeReports();
        ASSERT_EQ(reports.size(), 1U);
        EXPECT_DOUBLE_EQ(c.value(reports[0]), c.expected);
    }
}

TEST_F(TrafficLineTest, OriginAndDestinationAreCodesOrUnknown) {
    const std::pair<const char*, const char*> cases[] = {
        {"LEBL", "LEBL"}, {"BCN", "BCN"}, {"1L", "1L"}, {"ed00", "ed00"}, {"null", ""}, {"", ""},     {"L", ""},
        {"LEBLX", ""},    {"LE L", ""},   {"L/A", ""},  {"</x>", ""},     {"?", ""},    {"&lt;", ""}, {"\xC3\x84X", ""},
    };
    for (const auto& [field, code] : cases) {
        SCOPED_TRACE(field);
        feed(trafficReader, feedLine({{12, field}, {13, "LEMD"}}));
        feed(trafficReader, feedLine({{12, "LEMD"}, {13, field}}));
        const auto reports = takeReports();
        ASSERT_EQ(reports.size(), 2U);
        EXPECT_EQ(reports[0].orig + ">" + reports[0].dest, code + std::string(">LEMD"));
        EXPECT_EQ(reports[1].orig + ">" + reports[1].dest, std::string("LEMD>") + code);
    }
}

TEST_F(TrafficLineTest, NothingStaysFromTheLineBefore) {
    feed(trafficReader, feedLine());
    feed(trafficReader, feedLine({{9, "null"}, {12, "null"}, {13, ""}, {17, "mlat"}, {23, "-1"}, {7, ""}}));
    const auto reports = takeReports();
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[1].callsign + reports[1].orig + reports[1].dest, "");
    EXPECT_FALSE(reports[1].sample.trueHeadingValid || reports[1].sample.bankValid);
    EXPECT_EQ(reports[1].sample.track, 0);
}

TEST_F(TrafficLineTest, TimeOfADroppedLineCounts) {
    feed(trafficReader, feedLine({{2, "10"}, {14, "1700000123"}}));
    EXPECT_TRUE(takeReports().empty());
    EXPECT_EQ(trafficReader.timestamp, 1700000123.0);
    feed(trafficReader, feedLine({{14, "null"}}));
    EXPECT_EQ(trafficReader.timestamp, 1700000123.0);
}

TEST_F(TrafficLineTest, WithoutAnAirportTheGroundIsEmpty) {
    trafficReader.setReferenceAirport(std::nullopt);
    feed(trafficReader, feedLine({{2, "41.3"}, {4, "0"}}));
    feed(trafficReader, feedLine({{2, "41.3"}, {4, "30"}, {8, "30"}}));
    EXPECT_TRUE(takeReports().empty());
    feed(trafficReader, feedLine({{2, "41.3"}, {4, "30"}, {8, "36"}}));
    EXPECT_EQ(takeReports().size(), 1U);
}

TEST_F(TrafficLineTest, NothingIsQueuedWhileSamplesAreNotAccepted) {
    reportQueue.setAccepting(false);
    feed(trafficReader, feedLine());
    EXPECT_TRUE(takeReports().empty());
    EXPECT_EQ(trafficReader.timestamp, 1700000000.5);
}

TEST_F(TrafficLineTest, LineEndsDoNotBelongToTheLastField) {
    feed(trafficReader, feedLine({{28, "C1"}}, 29) + "\r\n");
    EXPECT_TRUE(takeReports().empty());
    feed(trafficReader, feedLine({{28, "A3"}}, 29) + "\r\n");
    EXPECT_EQ(takeReports().size(), 1U);
}

TEST_F(TrafficLineTest, BinaryTextCannotForgeALogLine) {
    feed(trafficReader, feedLine({{2, "x\n===> all is well\r\x1b[2J\xff"}}));
    feed(trafficReader, feedLine({{2, std::string(9000, 'y')}}));
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "exception in processLine: lat:x ===> all is well ?[2J?");
    EXPECT_EQ(lines[1], "exception in processLine: lat:" + std::string(longestQuote, 'y') + "...");
}

TEST(GroundDecision, FollowsHeightAndSpeed) {
    const struct {
        double alt, gs, elevation;
        bool ground;
    } cases[] = {
        {0, 400, -1000, true},      {-50, 400, -1000, true},   {14000, 35, 0, true},      {14000, 35.1, 20000, false},
        {13999, 400, 14000, true},  {1150, 400, 1150, true},   {1195, 120, 1150, true},   {1195.1, 120, 1150, false},
        {1195, 120.1, 1150, false}, {1240, 80, 1150, true},    {1240.1, 80, 1150, false}, {1240, 80.1, 1150, false},
        {1270, 43, 1150, true},     {1270.1, 43, 1150, false}, {1270, 43.1, 1150, false}, {1200, 100, 1150, false},
        {1200, 70, 1150, true},     {5, 36, -1000, false},     {0.1, 35, -1000, true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isOnGround(c.alt, c.gs, c.elevation), c.ground)
            << c.alt << " ft " << c.gs << " kn at " << c.elevation;
}

TEST(CategoryFilter, DropsByCategoryAndType) {
    const struct {
        const char *model, *category;
        bool keep;
    } cases[] = {
        {"B738", "A3", true},  {"B738", "C1", false},  {"B738", "B1", false}, {"B738", "B2", false},
        {"B738", "B3", true},  {"B738", "B4", false},  {"B738", "C2", false}, {"B738", "C3", true},
        {"BALL", "", true},    {"BALL", "null", true}, {"BALL", "A1", false}, {"GRND", "A1", false},
        {"GLID", "A1", false}, {"SERV", "A1", false},  {"PARA", "A1", false}, {"SHIP", "A1", false},
        {"EMER", "A1", false}, {"B738W", "A3", false}, {"B738W", "", true},   {"", "", false},
        {"", "A3", false},
    };
    for (const auto& c : cases) {
        AircraftReport report;
        report.model = c.model;
        EXPECT_EQ(categoryFilter(report, c.category), c.keep) << c.model << " " << c.category;
    }
}

} // namespace
} // namespace kes::test
