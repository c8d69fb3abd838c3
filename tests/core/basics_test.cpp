#include "core/ai_aircraft.h"
#include "core/folders.h"
#include "core/geo.h"
#include "core/hh_now.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "core/version.h"
#include "core/window.h"
#include "support.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace kes {
namespace {

namespace fs = std::filesystem;

TEST(Text, LeadingIntReadsLikeTheStandardConversion) {
    const struct {
        const char* text;
        std::optional<std::int32_t> value;
    } cases[] = {
        {"42", 42},
        {"  \t-7", -7},
        {"+5 nm", 5},
        {"12abc", 12},
        {"3.9", 3},
        {"2147483647", 2147483647},
        {"-2147483648", INT32_MIN},
        {"007", 7},
        {"2147483648", {}},
        {"99999999999999999999", {}},
        {"", {}},
        {"   ", {}},
        {"abc", {}},
        {"+-5", {}},
        {"- 5", {}},
        {"+", {}},
    };
    for (const auto& row : cases)
        EXPECT_EQ(leadingInt(row.text), row.value) << row.text;
}

TEST(Text, ForeignTextBecomesUtf8) {
    using namespace std::string_literals;
    const struct {
        std::string bytes, text;
        bool whole = true; ///< 16-bit text without a fault
    } cases[] = {
        {"", ""},
        {"K\xF6ln", "K\xF6ln"}, // plain bytes stay
        {"\xEF\xBB\xBF\xEF\xBB\xBFx", "\xEF\xBB\xBFx"},
        {"\xEF\xBBx", "\xEF\xBBx"},
        {"\xFF\xFE", ""},
        {"\xFF\xFE\x00\x00\xFC\x00"s, "\0\xC3\xBC"s},
        {"\xFE\xFF\x20\xAC\x07\xFF\x08\x00"s, "\xE2\x82\xAC\xDF\xBF\xE0\xA0\x80"},
        {"\xFF\xFE\x3D\xD8\xEB\xDE\xFF\xDB\xFF\xDF", "\xF0\x9F\x9B\xAB\xF4\x8F\xBF\xBF"},
        {"\xFF\xFE\x3D\xD8\x3D\xD8\xEB\xDE", "\xEF\xBF\xBD\xF0\x9F\x9B\xAB", false}, // two first halves
        {"\xFF\xFE\xEB\xDE\xEB\xDEx\x00"s, "\xEF\xBF\xBD\xEF\xBF\xBDx", false},      // two second halves
        {"\xFE\xFF\xD8\x3D\x00x"s, "\xEF\xBF\xBDx", false},
        {"\xFE\xFF\x00x\xD8\x3D"s, "x\xEF\xBF\xBD", false}, // cut between the halves, and in a unit
        {"\xFE\xFF\x00x\xD8\x3D\xDE"s, "x\xEF\xBF\xBD\xEF\xBF\xBD", false},
        {"\xFF\xFEx"s, "\xEF\xBF\xBD", false},
    };
    for (const auto& row : cases) {
        std::string converted = "of the last file";
        EXPECT_EQ(decodeText(row.bytes, converted), row.text);
        std::string appended;
        if (row.bytes.size() >= 2 && (row.bytes[0] == '\xFF' || row.bytes[0] == '\xFE')) {
            EXPECT_EQ(appendUtf16(appended, row.bytes.substr(2), row.bytes[0] == '\xFE'), row.whole) << row.text;
        } else {
            EXPECT_EQ(converted, "of the last file") << "plain bytes are not copied";
        }
    }
    EXPECT_EQ(utf8OrLatin1("\x80K\xF6ln\xFF"), "\xC2\x80K\xC3\xB6ln\xC3\xBF");
    EXPECT_EQ(utf8OrLatin1("K\xC3\xB6ln"), "K\xC3\xB6ln");
}

TEST(Text, DoublesPrintAsAStandardFormatterDoes) {
    const struct {
        double value;
        const char* oneDigit;
        const char* shortest;
    } cases[] = {
        {0, "0", "0"},
        {-0.0, "-0", "-0"},
        {100000, "1e+05", "1e+05"},
        {-3.4, "-3", "-3.4"},
        {0.1, "0.1", "0.1"},
        {12.5, "1e+01", "12.5"},
        {0.00001, "1e-05", "1e-05"},
        {NAN, "nan", "nan"},
        {INFINITY, "inf", "inf"},
        {123456.75, "1e+05", "123456.75"},
        {1.0 / 3, "0.3", "0.3333333333333333"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(generalOneDigit(row.value), row.oneDigit);
        EXPECT_EQ(shortest(row.value), row.shortest);
    }
    for (const double widest : {-std::numeric_limits<double>::max(), -std::numeric_limits<double>::denorm_min()})
        EXPECT_EQ(std::strtod(shortest(widest).c_str(), nullptr), widest);
}

TEST(Text, PiecesAndEdges) {
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(split("a,,b,", ','), (Pieces{"a", "", "b", ""}));
    EXPECT_EQ(split("", ','), Pieces{""});
    EXPECT_EQ(strip(" \t a b\r\n"), "a b");
    EXPECT_EQ(strip(" \r\n"), "");
    EXPECT_EQ(upper("b73\xC3\xA9z"), "B73\xC3\xA9Z") << "bytes beyond ASCII stay";
    EXPECT_TRUE(equalsNoCase("Eddf", "eDDF"));
    EXPECT_FALSE(equalsNoCase("EDDF", "EDD"));
    EXPECT_FALSE(equalsNoCase("[", "{")) << "letters only";
    EXPECT_EQ(plural(1), "");
    EXPECT_EQ(plural(0), "s");
    EXPECT_EQ(plural(-1), "s");
}

TEST(Version, ParsesWhatIsThereAndCompares) {
    const struct {
        const char* text;
        Version version;
    } cases[] = {{"10.10.9", {10, 10, 9}},
                 {"1.2", {1, 2, 0}},
                 {"", {}},
                 {"x.1.2", {}},
                 {"3.x.2", {3, 0, 0}},
                 {"4.5.6.7", {4, 5, 6}},
                 {"7.8.9b", {7, 8, 9}},
                 {"1.99999999999.2", {1, 0, 0}},
                 {"1.-2.3", {1, 0, 0}}};
    for (const auto& row : cases)
        EXPECT_EQ(parseStoredVersion(row.text), row.version) << row.text;
    EXPECT_LT(parseStoredVersion("10.9.20"), runningVersion());
    EXPECT_LT(parseStoredVersion("9.11.0"), parseStoredVersion("10.0.0"));
    EXPECT_EQ(toText(runningVersion()), programVersionText);
}

TEST(Geo, KnownDistancesAndBearings) {
    // One degree is 60 miles along the equator and along a meridian.
    EXPECT_NEAR(distanceNm({0, 0}, {0, 1}), 60.0, 1e-9);
    EXPECT_NEAR(distanceNm({52, 13}, {53, 13}), 60.0, 1e-9);
    EXPECT_NEAR(distanceNm({60, 0}, {60, 1}), 2 * std::asin(0.5 * std::sin(degToRad / 2)) * diameterNm / 2, 1e-9);
    EXPECT_NEAR(distanceNm({0, 179.5}, {0, -179.5}), 60.0, 1e-9) << "across the date line";
    EXPECT_NEAR(distanceNm({90, 0}, {-90, 77}), 180 * 60.0, 1e-6);
    EXPECT_NEAR(distanceNm({30, 10}, {-30, -170}), 180 * 60.0, 1e-3) << "antipodes";
    EXPECT_EQ(distanceNm({48.1, 11.5}, {48.1, 11.5}), 0.0);
    EXPECT_EQ(bearingRad({48.1, 11.5}, {48.1, 11.5}), 0.0);
    EXPECT_NEAR(bearingRad({10, 10}, {9, 10}), pi, 1e-12);
    EXPECT_NEAR(bearingRad({0, 10}, {0, 9}), 1.5 * pi, 1e-12);
    EXPECT_NEAR(bearingRad({0, 179.9}, {0, -179.9}), 0.5 * pi, 1e-12);
}

TEST(Geo, DestinationLeadsBackToDistanceAndBearing) {
    // feetPerNm and radiansPerFoot are rounded apart in the eighth digit.
    for (const double lat : {-85.0, -33.9, 0.0, 52.3, 89.0})
        for (const double lon : {-179.99, -0.1, 13.5, 179.99})
            for (double bearing = 0.1; bearing < twoPi; bearing += 0.7)
                for (const double nm : {0.01, 3.0, 100.0}) {
                    const LatLon from{lat, lon};
                    const LatLon to = destination(from, bearing, nm * feetPerNm);
                    EXPECT_NEAR(distanceNm(from, to) / nm, 1.0, 1e-6);
                    EXPECT_NEAR(angleDiff(bearing, bearingRad(from, to)), 0.0, 1e-6);
                    EXPECT_LE(std::fabs(to.lon), 180.0);
                }
    EXPECT_NEAR(destination({90, 0}, 0, 0).lat, 90.0, 1e-6) << "a hair above the pole must not turn into no number";
}

TEST(Geo, AnglesStayInTheirRange) {
    for (double a = -20; a < 20; a += 0.37)
        for (double b = -20; b < 20; b += 0.41) {
            const double d = angleDiff(a, b);
            EXPECT_LE(std::fabs(d), pi);
            EXPECT_NEAR(std::remainder(a + d - b, twoPi), 0.0, 1e-12);
        }
    for (const double a : {-1e-17, -twoPi, twoPi, 0.0, 3 * twoPi, -7.0, 1e6}) {
        const double n = normalizeAngle(a);
        EXPECT_GE(n, 0.0);
        EXPECT_LT(n, twoPi);
    }
    EXPECT_TRUE(inStartUpBox(0.0009, 0.05));
    EXPECT_FALSE(inStartUpBox(0.00091, 0.05));
    EXPECT_FALSE(inStartUpBox(-0.0001, 0.01));
}

TEST(HhNow, SlotsTurnAtTheHourAndHalfAMinuteBeforeTheHalf) {
    constexpr std::int64_t monday = 1764547200; // Mon Dec 01 2025
    const struct {
        std::int64_t time;
        HhNow expected;
    } cases[] = {
        {monday, {1, 0}},
        {monday + 29 * 60 + 29, {1, 0}},
        {monday + 29 * 60 + 30, {1, 1}},
        {monday + 3599, {1, 1}},
        {monday + 3600, {1, 2}},
        {monday + 86399, {1, 47}},
        {monday - 1, {7, 47}},
        {0, {4, 0}},
        {-1, {3, 47}},
    };
    for (const auto& row : cases)
        EXPECT_EQ(hhOf(row.time), row.expected) << row.time;
}

TEST(RequestExit, TheFirstReasonWinsWithItsDelay) {
    for (int round = 0; round < 200; ++round) {
        resetRunFlags();
        std::atomic<int> winners{0};
        std::atomic<bool> torn{false};
        std::vector<std::thread> threads;
        for (int i = 1; i <= 4; ++i)
            threads.emplace_back([&, i] { winners += requestExit(static_cast<ExitReason>(i), i * 11) ? 1 : 0; });
        threads.emplace_back([&] {
            while (!exitRequested)
                std::this_thread::yield();
            torn = restartDelay() != static_cast<std::int32_t>(exitReason()) * 11;
        });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(winners, 1);
        EXPECT_FALSE(torn) << "who sees the flag sees the reason and its own delay";
    }
    setExitReason(ExitReason::systemError);
    EXPECT_EQ(exitReason(), ExitReason::systemError);
    EXPECT_EQ(restartDelay() % 11, 0) << "only the reason is written over";
    resetRunFlags();
}

TEST(RequestExit, AReasonWrittenAloneKeepsNoRequestOut) {
    resetRunFlags();
    setExitReason(ExitReason::systemError);
    EXPECT_FALSE(exitRequested);
    EXPECT_TRUE(requestExit(ExitReason::newSettings, 3)) << "a path typed after the error that asked for it";
    EXPECT_EQ(exitReason(), ExitReason::newSettings);
    EXPECT_EQ(restartDelay(), 3);
    EXPECT_FALSE(requestExit(ExitReason::newFlight, 45));
    resetRunFlags();
    EXPECT_EQ(exitReason(), ExitReason::notYetSet);
    EXPECT_TRUE(requestExit(ExitReason::newFlight, -1)) << "the next run starts anew";
    EXPECT_EQ(restartDelay(), -1);
    exitRequested = false;
    resetRunFlags();
}

TEST(Labels, PadAsTheLogShowsThem) {
    AircraftIdentity aircraft;
    aircraft.callsign = "DLH4C";
    aircraft.regcode = "D-AIAB";
    aircraft.airline = "DLH";
    aircraft.model = "A21N";
    EXPECT_EQ(longLabel(aircraft), "DLH4C    D-AIAB            DLH A21N");
    aircraft.dest = "MUC";
    EXPECT_EQ(longLabel(aircraft), "DLH4C    D-AIAB      ->MUC DLH A21N");
    aircraft.orig = "EDDF";
    EXPECT_EQ(longLabel(aircraft), "DLH4C    D-AIAB   EDDF->MUC DLH A21N");
    EXPECT_EQ(shortLabel(aircraft), "DLH4C    D-AIAB DLH A21N");
    aircraft.model = "H60";
    EXPECT_EQ(aimo(aircraft), "DLH H60 ");
    EXPECT_EQ(airlineFromCallsign("dlh4c"), "DLH");
    for (const char* none : {"DLH", "DLHX1", "D1H4", "",
                             "DL\xC3\xA9"
                             "4"})
        EXPECT_EQ(airlineFromCallsign(none), "") << none;
    EXPECT_TRUE(isValidCallsign("12345678"));
    for (const char* bad : {"", "@@@@@@@@", "123456789"})
        EXPECT_FALSE(isValidCallsign(bad)) << bad;
}

TEST(Folders, AFreshStartMakesTheTreeButNotTheInput) {
    const test::ProgramFolder folder;
    EXPECT_THROW(
        {
            try {
                createFolders();
            } catch (const fs::filesystem_error& refused) {
                EXPECT_EQ(refused.path1(), path::myRegcodes);
                EXPECT_NE(std::string(refused.what()).find("create_directory"), std::string::npos);
                throw;
            }
        },
        fs::filesystem_error);
    EXPECT_TRUE(fs::is_directory("airports/my_thirdparty")) << "all in front of the failing one stand";
    EXPECT_FALSE(fs::exists("input"));
    fs::create_directory("input");
    createFolders();
    createFolders();
    for (const char* made : {"output/info", "output/errors", "airports/learned/stock", "airports/learned/simaddon",
                             "airports/learned/thirdparty", "airports/my_simaddon", "input/my_regcodes"})
        EXPECT_TRUE(fs::is_directory(made)) << made;
}

TEST(Folders, ErrorsTellTheStepThatFailed) {
    const test::ProgramFolder folder;
    std::ofstream("output") << "a file in the way";
    const auto what = [] {
        try {
            createFolders();
        } catch (const fs::filesystem_error& refused) {
            return std::string(refused.what());
        }
        return std::string();
    };
    // What lies below a file can neither be there nor be made.
    EXPECT_NE(what().find("create_directory"), std::string::npos);
    fs::remove("output");
    fs::create_symlink("output", "output"); // a link onto itself has no status
    EXPECT_NE(what().find("status"), std::string::npos);
}

TEST(Folders, CountsFilesOnly) {
    const test::ProgramFolder folder;
    EXPECT_EQ(countFiles("nowhere"), 0u);
    fs::create_directories("some/below");
    std::ofstream("some/one") << 1;
    std::ofstream("some/two") << 2;
    std::ofstream("some/below/three") << 3;
    EXPECT_EQ(countFiles("some"), 2u);
    EXPECT_EQ(countFiles("some/one"), 0u);
}

TEST(Folders, OneThatCannotBeEmptiedIsAUserError) {
    const test::ProgramFolder program;
    std::filesystem::create_directories("full/below");
    std::ofstream("full/below/file") << "x";
    std::ofstream("full/file") << "x";
    emptyFolder("full");
    EXPECT_TRUE(std::filesystem::is_empty("full"));
    // Nobody, not even root, removes a file there.
    for (const char* folder : {"/proc/self/fdinfo", "nowhere"}) {
        try {
            emptyFolder(folder);
            ADD_FAILURE() << folder;
        } catch (const nwk::UserErrorException& e) {
            EXPECT_EQ(e.number, 5u);
            EXPECT_EQ(std::string(e.what()).substr(0, 21), "5: filesystem error: ") << e.what();
        }
    }
}

TEST(Folders, UserDataLiesInTheRoamingFolder) {
    const test::ProgramFolder folder;
    EXPECT_EQ(parametersFile(), folder.folder / "appdata" / "Kestrelune" / "parameters.xml");
    const char* const before = std::getenv("XDG_CONFIG_HOME");
    const std::string kept = before != nullptr ? before : "";
    setenv("XDG_CONFIG_HOME", "/kim", 1);
    EXPECT_EQ(realTrafficJar(), "/kim/InsideSystems/RealTraffic.jar");
    if (before != nullptr)
        setenv("XDG_CONFIG_HOME", kept.c_str(), 1);
    else
        unsetenv("XDG_CONFIG_HOME");
}

TEST(Window, ANewRunStartsWithFreshReadOuts) {
    readouts.live = 5;
    readouts.qnh = 1013;
    readouts.trafficLamp = Lamp::receiving;
    readouts.minutesToRenewal = 3;
    readouts.waiting = false;
    setReadout(Readout::foundObject, "text");
    windowRequests.parkAdjust = true;
    readouts.liveries = 4711;
    windowRequests.newSettings = true;
    showStatus("old", false);
    resetWindow();
    EXPECT_EQ(readouts.live, 0);
    EXPECT_EQ(readouts.qnh, 0);
    EXPECT_EQ(readouts.trafficLamp, Lamp::stopped);
    EXPECT_EQ(readouts.minutesToRenewal, -1);
    EXPECT_TRUE(readouts.waiting);
    EXPECT_EQ(readoutText(Readout::foundObject), "");
    EXPECT_FALSE(windowRequests.parkAdjust);
    EXPECT_FALSE(windowRequests.newSettings);
    EXPECT_EQ(readouts.liveries, 4711) << "they stay loaded";
    EXPECT_EQ(statusText(), "");
}

} // namespace
} // namespace kes
