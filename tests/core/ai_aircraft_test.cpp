// SPDX-License-Identifier: MIT
#include "core/ai_aircraft.h"

#include <gtest/gtest.h>

namespace kes {
namespace {

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

} // namespace
} // namespace kes
