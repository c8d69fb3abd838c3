// SPDX-License-Identifier: MIT
// The read-outs as the window shows them.
#include "core/clock.h"
#include "core/hh_now.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "feed/traffic_reader.h"
#include "window/window_layout.h"
#include "window/window_text.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace kes::test {
namespace {

struct WindowText : testing::Test {
    std::vector<DrawnText> texts;
    void SetUp() override {
        resetWindow();
        setParameterDefaults();
    }
    void TearDown() override {
        SetUp();
        setWallClockMs(-1);
        setHhNow({});
        rtProfEdition = false;
        trafficReader.timestamp = 0;
        readouts.liveries = -1;
        readouts.tbloFiles = 0;
    }
    bool shows(std::string_view text) {
        buildWindowTexts(texts);
        return std::ranges::any_of(texts, [&](const DrawnText& drawn) { return drawn.text == text; });
    }
    const DrawnText& of(std::string_view text) {
        EXPECT_TRUE(shows(text)) << text;
        return *std::ranges::find(texts, text, &DrawnText::text);
    }
};

TEST_F(WindowText, TellsWhatTheLogicWrites) {
    for (const char* text : {"Kestrelune", "MSFS 2020 mode", "# liveries: ...", "# simaddon: ...", "# thirdp: ...",
                             "live:   0", "qnh:    0", "# stands:   0", "# updates:    0", "average fit: -",
                             "no max park live", "Airport parking", "parked live:   0, parked static:   0"}) {
        EXPECT_TRUE(shows(text)) << text;
    }
    const std::size_t many = texts.size();
    par::MSFS_2020.value = false;
    readouts.liveries = 12345;
    readouts.simaddonFiles = 2;
    readouts.live = 300;
    readouts.parkedLive = 12;
    readouts.parkedStatic = 500;
    readouts.qnh = 1013;
    readouts.stands = 147;
    readouts.updates = 8;
    readouts.averageFit = 3.25F;
    readouts.maxPark = 44;
    readouts.maxParkPercent = 30;
    readouts.parkingActive = true;
    readouts.minutesToRenewal = 17;
    setReadout(Readout::keptStand, "A12");
    setReadout(Readout::userStand, "B4");
    setReadout(Readout::quality, "87");
    setReadout(Readout::publisher, "stock");
    readouts.handmade = true;
    readouts.tbloFiles = 1;
    for (const char* text :
         {"MSFS 2024 mode", "# liveries: 12345", "# simaddon: 2", "live: 300", "qnh: 1013", "# stands: 147",
          "# updates:    8", "average fit: 3.2", "max park:  44 (=30 %)", "Airport parking active", "(next in 17 min)",
          "reserved stand: A12", ", user stand B4", "qf: 87", "stock, handmade", "1 airport in TBLO folder",
          "parked live:  12, parked static: 500"}) {
        EXPECT_TRUE(shows(text)) << text;
    }
    EXPECT_EQ(texts.size(), many) << "the places stay";
}

TEST_F(WindowText, LampsFollowTheReadersAndTheLights) {
    EXPECT_EQ(of("Traffic").lamp, Lamp::stopped);
    EXPECT_EQ(of("Simulator").lamp, Lamp::off);
    readouts.trafficLamp = Lamp::silent;
    readouts.weatherLamp = Lamp::receiving;
    readouts.simLight = true;
    setReadout(Readout::simName, "MSFS 2024");
    EXPECT_EQ(of("Traffic").lamp, Lamp::silent);
    EXPECT_EQ(of("Weather").lamp, Lamp::receiving);
    EXPECT_EQ(of("MSFS 2024").lamp, Lamp::receiving);
}

TEST_F(WindowText, TheClockIsTheOneOfTheTraffic) {
    setWallClockMs(1000LL * 45296); // 12:34:56
    setHhNow({3, 25});
    EXPECT_TRUE(shows(" Wed, 12:34:56z, wk=-"));
    readouts.trafficWeek = 48;
    rtProfEdition = true;
    EXPECT_FALSE(shows("*S*"));
    trafficReader.timestamp = 3600.0;
    EXPECT_TRUE(shows("*S*"));
    EXPECT_TRUE(shows(" Wed, 01:00:00z, wk=48"));
}

TEST_F(WindowText, NoTwoReadOutsShareAPlace) {
    buildWindowTexts(texts);
    for (const DrawnText& one : texts) {
        EXPECT_LE(one.x + one.width, windowWidth) << one.text;
        for (const DrawnText& other : texts) {
            if (&one != &other && std::abs(one.y - other.y) < rowHeight && one.x <= other.x) {
                EXPECT_LE(one.x + one.width, other.x) << one.text << " and " << other.text;
            }
        }
        for (const PlacedControl& box : placedControls()) {
            if (std::abs(one.y - box.base().top) < rowHeight) {
                EXPECT_TRUE(one.x + one.width <= box.x || box.x + box.width <= one.x)
                    << one.text << " on " << box.label;
            }
        }
    }
}

} // namespace
} // namespace kes::test
