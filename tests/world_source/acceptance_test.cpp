// SPDX-License-Identifier: MIT
// The program's own reader on the scenario: it must take every line that counts, drop the rest, and complain of
// nothing.
#include "core/run_state.h"
#include "feed/traffic_reader.h"
#include "support.h"
#include "world/source/scenario.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <map>

using namespace kes;
using namespace kes::source;

TEST(Acceptance, TheReaderTakesTheScenarioWithoutAWord) {
    test::ProgramFolder folder;
    const float before = rangeNm;
    rangeNm = 45.0F;
    rtOnThisPc = true;
    trafficReader.setUserPosition(munichPosition.lat, munichPosition.lon);
    trafficReader.setReferenceAirport(FeedAirport{munichPosition, munichElevation});
    reportQueue.clear();
    reportQueue.setAccepting(true);
    const std::string logBefore = folder.logText();
    Scenario scenario;
    startScenario(scenario, {});
    std::map<LineKind, int> taken, sent;
    std::array<AircraftReport, 1> room;
    int airborneFlips = 0, airborneLines = 0;
    for (int i = 0; i < 30000; ++i) {
        const ScenarioReport r = nextReport(scenario);
        const std::string line = lineOf(scenario, r, 1.7e9 + r.time);
        trafficReader.text = line;
        trafficReader.onDatagram();
        ++sent[r.kind];
        if (reportQueue.take(room) != 0) {
            const AircraftReport& got = room[0];
            ++taken[r.kind];
            ASSERT_EQ(got.hexid, r.report.hexid) << line;
            ASSERT_EQ(got.model, r.report.model);
            ASSERT_EQ(got.callsign, r.report.callsign == "null" ? "" : r.report.callsign);
            ASSERT_EQ(got.regcode, r.report.regcode == "null" ? "" : r.report.regcode);
            ASSERT_NEAR(got.sample.lat, r.report.place.lat, 1e-5);
            ASSERT_NEAR(got.sample.gs, r.report.groundSpeed, 0.01);
            if (r.report.airborne && r.report.dataSource == "adsb_icao") {
                ASSERT_TRUE(got.sample.adsbHeading) << line;
            }
            airborneLines += r.report.airborne;
            airborneFlips += got.sample.airborne != r.report.airborne;
            ASSERT_EQ(reportQueue.size(), 0U);
        }
    }
    EXPECT_EQ(folder.logText(), logBefore);
    EXPECT_EQ(taken[LineKind::Parked] + taken[LineKind::Vehicle] + taken[LineKind::Odd], 0);
    EXPECT_GT(sent[LineKind::Parked] + sent[LineKind::Vehicle] + sent[LineKind::Odd], 300);
    EXPECT_EQ(taken[LineKind::Traffic], sent[LineKind::Traffic]);
    // Only the first and last feet above the runway, and a helicopter's slow start, are judged otherwise.
    EXPECT_LT(airborneFlips, airborneLines / 200);
    reportQueue.setAccepting(false);
    trafficReader.setReferenceAirport(std::nullopt);
    resetReaders();
    rangeNm = before;
}
