// SPDX-License-Identifier: MIT
// The whole road of an add-on airport: a package that is installed, a scan, and an aircraft that parks on one of its
// stands.
#include "airports/addon_link.h"
#include "airports/addon_scan.h"
#include "airports/airport_file.h"
#include "airports/airport_source.h"
#include "airports/park_airports.h"
#include "airports/stands.h"
#include "core/units.h"
#include "flight_folder.h"
#include "traffic/live_table.h"
#include "world/simulator/inproc.h"

#include <algorithm>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

TEST(AddonRoad, AnAircraftParksOnAStandOfAnInstalledPackage) {
    const fs::path package = fs::path(KES_SOURCE_DIR) / "../shared/data/bgl/Community/dcp-airport-kpsc-pasco";
    if (!fs::exists(package))
        GTEST_SKIP() << package << " is not there";
    FlightFolder program;
    createFolders();
    SmallReference reference{.types = "A320,Large,34.1\n", .airlines = "DLH,Lufthansa\n"};
    reference.more["publishers.csv"] = "names,remark\nDCP;dcp-airport,\n";
    writeSmallReference(reference);
    program.readContent();
    constexpr double lat = 46.2647, lon = -119.119, elevation = 403;
    airportTable.assign(1, {"KPSC", "PSC", lat, lon, elevation});
    fs::create_directories("Community");
    fs::copy(package, "Community/dcp-airport-kpsc-pasco", fs::copy_options::recursive);
    par::MSFS_INSTALL_PATH.set(program.folder.string());
    scanAddonAirports();
    EXPECT_EQ(statusText(), "1 airport in 1 package: 0 linked, 1 generated, 0 not recognised");
    ASSERT_EQ(airportSource("KPSC"), (path::myThirdparty / "KPSC.xml").string());

    world::SimulatorOptions options = overTheField();
    options.lat = lat;
    options.lon = lon;
    options.terrain.airfields.assign(1, {lat, lon, elevation});
    world::startVirtualFlight(options);
    parkAirportList.assign(1, {"KPSC", "", lat, lon, 0});
    for (int tick = 0; !airportLoaded && tick < 12000; ++tick)
        ASSERT_TRUE(world::virtualTick());
    ASSERT_EQ(stands.size(), 35U);
    const auto gate = std::ranges::find_if(stands, [](const Stand& s) { return s.id == "9"; });
    ASSERT_NE(gate, stands.end());
    Straight parked;
    parked.place = gate->position();
    parked.knots = 0;
    parked.alt = 0;
    for (int tick = 0; tick < 6000; ++tick) {
        if (tick % 500 == 0)
            world::virtualDatagram(parked.line(tick / 100.0));
        ASSERT_TRUE(world::virtualTick());
    }
    ASSERT_EQ(liveAircraft.size(), 1U);
    EXPECT_EQ(standName(liveAircraft.front().sid), "9");
    EXPECT_EQ(liveAircraft.front().fs, FlightState::parked);
    const auto object = world::inprocObject(parked.callsign);
    ASSERT_TRUE(object);
    EXPECT_LT(distanceNm({object->lat, object->lon}, *parked.place) * metresPerNm, 2.0);
    world::endVirtualFlight();
    resetAddonAirports();
    airportTable.clear();
}

} // namespace
} // namespace kes::test
