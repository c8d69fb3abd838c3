// SPDX-License-Identifier: MIT
// Airports with stands in a row, and the whole program over them in virtual time.
#pragma once

#include "airports/stands.h"
#include "core/clock.h"
#include "core/run_state.h"
#include "spine/flight_folder.h"
#include "world/simulator/inproc.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace kes::replay {

inline constexpr double metreNorth = 1.0 / 60.0 / metresPerNm; ///< degrees of latitude

inline LatLon offset(LatLon from, double metresEast, double metresNorth) {
    return {from.lat + metresNorth * metreNorth, from.lon + metresEast * metreNorth / std::cos(from.lat * degToRad)};
}

/// An aircraft on the ground.
struct OnGround {
    LatLon at;
    double heading = 0, knots = 0; ///< radians
};

inline constexpr double laneSouth = 80, rollSpeed = 5, pushSpeed = 1.5; ///< metres, metres per second
inline constexpr double pushSeconds = laneSouth / pushSpeed;

/// Comes along the lane south of the stands from 200 m west, then north onto its stand, and stops after `way` metres.
inline OnGround rollingIn(LatLon stand, double seconds, double way = 200 + laneSouth) {
    const double done = std::min(rollSpeed * seconds, way), knots = done < way ? 9.7 : 0;
    return done < 200 ? OnGround{offset(stand, done - 200, -laneSouth), pi / 2, knots}
                      : OnGround{offset(stand, 0, done - 200 - laneSouth), 0, knots};
}

/// Is pushed back onto the lane, and rolls off to the east.
inline OnGround leaving(LatLon stand, double seconds) {
    return seconds < pushSeconds
               ? OnGround{offset(stand, 0, -pushSpeed * seconds), 0, 3}
               : OnGround{offset(stand, rollSpeed * (seconds - pushSeconds), -laneSouth), pi / 2, 9.7};
}

/// Rows of stands eastwards from a place, noses to the north, the next row 200 m behind.
struct StandRow {
    LatLon at{test::fieldLat, test::fieldLon};
    int count = 20;
    double spacing = 60, radius = 28; ///< metres
    int perRow = 30;
    bool someOverlap = false; ///< each tenth lies half as far from the one before
    LatLon stand(int n) const {
        const int column = n % perRow;
        return offset(at, spacing * (column - (someOverlap && column % 10 == 9 ? 0.5 : 0.0)), 200.0 * (n / perRow));
    }
    static std::string id(int n) { return fmt::format("G{}", n + 1); }
    /// The stock file of an airport; `options` are the "opt" elements of a stand.
    template <typename Options> void write(const char* code, Options&& options) const {
        const std::filesystem::path folder = "updates/MSFS/archive/stock";
        std::filesystem::create_directories(folder);
        std::ofstream file(folder / (std::string(code) + ".xml"));
        file << "<parameters><parameter name='airport_name' value='" << code
             << "'/><parameter name='publisher' value='stock'/><parameter name='altitude' value='1487'/></parameters>"
                "<parkpositions>";
        for (int n = 0; n < count; ++n)
            file << fmt::format("<parkpos id='{}' latitude='{:.7f}' longitude='{:.7f}' heading='0' radius='{:.1f}'>{}"
                                "</parkpos>",
                                id(n), stand(n).lat, stand(n).lon, radius, options(n));
        file << "</parkpositions>";
    }
};

/// A run of the program whose clock is set by hand. The lists of airports and types are the test's.
struct VirtualAirport {
    test::FlightFolder program;
    std::int64_t clockMs = 0;
    std::int32_t ticks = 0; ///< of this flight

    VirtualAirport() = default;
    VirtualAirport(const VirtualAirport&) = delete;
    VirtualAirport& operator=(const VirtualAirport&) = delete;
    ~VirtualAirport() {
        if (world::inprocRunning())
            end();
    }
    /// The content of the folder, whatever was read before.
    static void readContent() {
        resetLiveries();
        test::FlightFolder::readContent();
    }
    /// A livery "T type airline" of each airline and type.
    template <typename Airlines, typename Types>
    void writeLiveries(const Airlines& airlines, const Types& types) const {
        std::deque<std::string> texts; // which stay where they are
        std::vector<std::array<const char*, 3>> liveries;
        for (const auto& airline : airlines)
            for (const char* type : types)
                liveries.push_back({texts.emplace_back(airline).c_str(), type,
                                    texts.emplace_back(fmt::format("T {} {}", type, airline)).c_str()});
        program.writeLiveries(liveries);
    }
    static void list(std::initializer_list<const char*> codes) {
        std::filesystem::create_directories("airports");
        std::ofstream file(path::myParkAirports);
        for (const char* code : codes)
            file << code << "\n";
    }
    void begin(const world::SimulatorOptions& options, std::int64_t epochSeconds) {
        setClock(epochSeconds);
        ticks = tickCount = 0;
        world::startVirtualFlight(options);
    }
    static void end() {
        world::endVirtualFlight();
        setWallClockMs(-1);
    }
    void setClock(std::int64_t epochSeconds) {
        clockMs = epochSeconds * 1000;
        setWallClockMs(clockMs);
    }
    double now() const { return static_cast<double>(clockMs) / 1000.0; }
    /// `each` runs before each tick, which takes the clock 10 ms on.
    template <typename Each> void fly(double seconds, Each&& each) {
        for (const auto end = ticks + static_cast<std::int32_t>(std::lround(seconds * 100)); ticks < end; ++ticks) {
            each();
            if (!world::virtualTick())
                throw std::runtime_error("the flight ended by itself");
            clockMs += 10;
            setWallClockMs(clockMs);
        }
    }
    void fly(double seconds) {
        fly(seconds, [] {});
    }
};

} // namespace kes::replay
