// SPDX-License-Identifier: MIT
// Recordings of real traffic through the whole logic in virtual time, with the content that the project ships.
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/run_state.h"
#include "liveries/matching.h"
#include "liveries/scan.h"
#include "liveries/store.h"
#include "reference/reference_document.h"
#include "support.h"
#include "traffic/live_table.h"
#include "traffic/tick_check.h"
#include "world/content/content.h"
#include "world/replay/virtual_flight.h"
#include "world/simulator/inproc.h"
#include "world/source/recording.h"

#include <algorithm>
#include <map>

namespace kes::test {
namespace {

struct Recording {
    const char* file;
    double lat, lon, altFeet;
    double minutes;
    std::size_t leastPeak;    ///< aircraft at once
    std::size_t leastCreated; ///< objects in all; below what the recording holds within range
};

void PrintTo(const Recording& r, std::ostream* out) {
    *out << r.file;
}

struct RecordingTest : testing::TestWithParam<Recording> {
    ProgramFolder program;

    void SetUp() override {
        setParameterDefaults();
        resetLiveries();
        resetAirportTable();
        const auto data = std::filesystem::path(KES_SOURCE_DIR) / "data";
        world::makeContent(
            {data, program.folder, program.folder / "sim" / "Community", program.folder / "appdata", true});
        par::MSFS_INSTALL_PATH.set((program.folder / "sim").string());
        createFolders();
        readDataBase();
        readAirportTable();
        scanLiveries();
    }
    void TearDown() override {
        resetLiveries();
        resetAirportTable();
    }
};

TEST_P(RecordingTest, FliesWithoutAFaultAndWithoutAJump) {
    const Recording& r = GetParam();
    const std::filesystem::path file = std::filesystem::path(KES_SOURCE_DIR) / "../shared/data/traffic" / r.file;
    if (!std::filesystem::exists(file)) {
        GTEST_SKIP() << "no recordings beside the project";
    }
    source::Recording recording;
    std::string problem;
    ASSERT_TRUE(recording.open(file, problem)) << problem;
    auto line = recording.next();
    ASSERT_TRUE(line);

    setRandomSeed(1);
    world::SimulatorOptions o;
    o.lat = r.lat;
    o.lon = r.lon;
    o.altFeet = r.altFeet;
    o.terrain.hillFeet = 0;
    for (const AirportEntry& a : airportTable)
        if (distanceNm({a.lat, a.lon}, {r.lat, r.lon}) < 100)
            o.terrain.airfields.push_back({a.lat, a.lon, a.alt});
    world::startVirtualFlight(o);

    std::map<std::uint32_t, world::SimObject> seen; ///< as it was at its last record
    std::pair<double, std::string> fastest;         ///< knots over the ground between two records of one object
    world::Hooks hooks;
    hooks.position = [&](const world::SimObject& object) {
        world::SimObject& last = seen.try_emplace(object.id, object).first->second;
        if (object.recordNs > last.recordNs) {
            const double hours = static_cast<double>(object.recordNs - last.recordNs) / 3.6e12;
            fastest =
                std::max(fastest, {distanceNm({last.lat, last.lon}, {object.lat, object.lon}) / hours, object.tail});
        }
        last = object;
    };
    world::inprocSetHooks(hooks);

    std::size_t peak = 0;
    std::string violation;
    const int ticks = static_cast<int>(r.minutes * 6000);
    for (int tick = 0; tick < ticks; ++tick) {
        for (; line && line->time <= tick / 100.0; line = recording.next())
            world::virtualDatagram(line->text);
        ASSERT_TRUE(world::virtualTick()) << program.logText().substr(0, 3000);
        if (violation.empty())
            violation = checkLiveTables();
        if (tick % 100 == 0)
            peak = std::max(peak, world::inprocObjects().size());
    }
    world::inprocSetHooks({});
    const world::Counters counters = world::inprocCounters();
    EXPECT_EQ(violation, "");
    EXPECT_GE(peak, r.leastPeak);
    EXPECT_GE(counters.objectsCreated, r.leastCreated);
    EXPECT_LT(fastest.first, 800) << fastest.second << ": a leg lasts at least 25 ticks, so nothing may jump";
    EXPECT_TRUE(counters.exceptions.empty());
    EXPECT_EQ(program.logCount("exception"), 0U);
    EXPECT_EQ(program.logCount("! "), 0U);
    world::endVirtualFlight();
    EXPECT_TRUE(liveAircraft.empty());
}

INSTANTIATE_TEST_SUITE_P(Recordings, RecordingTest,
                         testing::Values(Recording{"lebl-ground-20201002.rttfc.gz", 41.30, 2.08, 5000, 61, 4, 15},
                                         Recording{"egll-terminal-20170802.rttfc.gz", 51.47, -0.46, 20000, 88, 10, 30},
                                         Recording{"swiss-enroute-20180801.rttfc.gz", 46.8, 8.2, 25000, 46, 8, 30},
                                         Recording{"lfbo-egll-20240606.rttfc.gz", 43.63, 1.37, 5000, 30, 1, 3}));

} // namespace
} // namespace kes::test
