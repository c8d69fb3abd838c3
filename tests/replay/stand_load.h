// SPDX-License-Identifier: MIT
// Two airports full of static aircraft, live ones in the air and at the stands, renewals, and a user who jumps from one
// airport to the other: for the checks that must hold all the time, and for benchmarks. One run at a time.
#pragma once

#include "airports/parked_table.h"
#include "core/random.h"
#include "replay/virtual_airport.h"
#include "spine/main_tick.h"
#include "tools/replay/stand_check.h"
#include "traffic/live_table.h"
#include "traffic/tick_check.h"

#include <set>

namespace kes::replay {

struct StandLoad : VirtualAirport {
    static constexpr int airlineCount = 40;
    static constexpr std::int64_t wednesday = 1700006400 + 9 * 3600; ///< 15 November 2023, 09:00
    static constexpr double northOfTheFirst = 0.14;                  ///< degrees
    StandRow rows[2];
    int circling = 260, turning = 40; ///< live aircraft in the air, and of those that come to stands and leave them
    int here = 0;                     ///< the airport under the user
    std::set<std::string> faults;     ///< the first of each kind
    std::size_t mostStatic = 0, mostLive = 0, mostParkedLive = 0, airports = 0;
    std::uint64_t hash = 1469598103934665603ULL; ///< of what the simulator shows, every five seconds
    std::vector<float>* tickMs = nullptr;        ///< gets what each main tick took

    static std::string airline(int n) {
        return {'X', static_cast<char>('A' + n / 26), static_cast<char>('A' + n % 26)};
    }

    StandLoad(int stands, int mostParked) {
        std::string airlines;
        std::vector<std::string> codes;
        for (int n = 0; n < airlineCount; ++n)
            airlines += codes.emplace_back(airline(n)) + ",name\n";
        test::writeSmallReference(
            {.types = "A320,Large,34.1\nB738,Large,35.8\nE190,Large,28.7\nB752,Large,38.0\n", .airlines = airlines});
        writeLiveries(codes, models);
        readContent();
        airportTable.push_back({"EDDN", "NUE", test::fieldLat + northOfTheFirst, test::fieldLon, test::fieldElevation});
        rows[1].at.lat += northOfTheFirst;
        for (int a = 0; a < 2; ++a) {
            rows[a].count = stands;
            rows[a].someOverlap = true;
            rows[a].radius = 25;
            rows[a].write(a == 0 ? "EDDM" : "EDDN", [&](int n) { return options(n + a * stands); });
        }
        list({"EDDM", "EDDN"});
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
        par::CUSTOM_MAX_PARK.value = mostParked;
        par::WEEK.value = true;
        par::AUTO_RANGE.value = false;
        par::COLLISION_LIVE_PARKED_GND.value = true;
    }
    /// Another aircraft every four hours.
    static std::string options(int n) {
        std::string text;
        for (int k = 0; k < 6; ++k) {
            const int airlineNumber = (n * 7 + k * 11) % airlineCount;
            text += fmt::format("<opt reg='ST-{}{}' airl='{}' type='{}' day='1' hh='", n, static_cast<char>('A' + k),
                                airline(airlineNumber), models[(n + k) % 4]);
            for (int slot = 8 * k; slot < 8 * k + 8; ++slot)
                text += fmt::format("{}{}", slot == 8 * k ? "" : ",", slot);
            text += fmt::format("' cs='{}{}'/>", airline(airlineNumber), 10 * n + k);
        }
        return text;
    }
    void start() {
        world::SimulatorOptions options = test::overTheField();
        options.altFeet = 12000;
        options.maxObjects = 2000;
        options.terrain.airfields.push_back({rows[1].at.lat, rows[1].at.lon, test::fieldElevation});
        setRandomSeed(3);
        begin(options, wednesday);
        setRange(40);
    }
    /// Of less than ten miles: a longer one ends a run.
    void jump(int airport) {
        here = airport;
        const auto simulator = world::worldSimulator();
        simulator->user.lat = rows[airport].at.lat;
        simulator->user.lon = rows[airport].at.lon;
    }
    /// `each` runs after each second.
    void run(double seconds, const std::function<void()>& each = {}) {
        using Clock = std::chrono::steady_clock;
        for (const auto end = ticks + static_cast<std::int32_t>(seconds * 100); ticks < end; ++ticks) {
            report();
            world::virtualSimulatorStep();
            const auto before = Clock::now();
            if (!mainTick())
                throw std::runtime_error("the flight ended by itself");
            if (tickMs != nullptr)
                tickMs->push_back(std::chrono::duration<float, std::milli>(Clock::now() - before).count());
            clockMs += 10;
            setWallClockMs(clockMs);
            if (ticks % 100 != 0)
                continue;
            look();
            if (each)
                each();
        }
    }

private:
    static constexpr const char* models[] = {"A320", "B738", "E190", "B752"};
    static constexpr int turnSeconds = 1200;

    /// Each aircraft reports every five seconds, at its own tick.
    void report() {
        const double t = ticks / 100.0;
        for (int n = ticks % 500; n < circling + turning; n += 500)
            n < circling ? circle(n, t) : turnRound(n - circling, t);
    }
    void send(int number, int flight, const OnGround& pose, double feet = 0) const {
        test::Straight s;
        s.hexid = 4000000 + static_cast<std::uint32_t>(number);
        s.callsign = fmt::format("{}{}", airline(number % airlineCount), 5000 + number * 2 + flight);
        s.model = models[number % 4];
        s.regcode = fmt::format("LV-{}", number);
        s.place = pose.at;
        s.bearing = pose.heading;
        s.knots = pose.knots;
        s.alt = feet;
        std::string line = s.line(ticks / 100.0);
        line.replace(line.rfind(",DLH"), 4, "," + airline(number % airlineCount));
        world::virtualDatagram(line);
    }
    void circle(int n, double t) const {
        const double radius = 3.0 + 0.06 * n, angle = n * 2.39996 + 250.0 / 3600.0 / radius * t;
        const LatLon at = destination(rows[here].at, normalizeAngle(angle), radius * feetPerNm);
        send(1000 * here + n, 0, {at, normalizeAngle(angle + pi / 2), 250}, 4000 + 40 * n);
    }
    /// Rolls in from the west, stands, is silent for a while, is pushed back and rolls off to the east.
    void turnRound(int n, double time) const {
        constexpr double silent = 400, leaves = 660, pushed = 700, gone = pushed + pushSeconds + 400 / rollSpeed;
        const double t = std::fmod(time + 97.0 * n, turnSeconds);
        const StandRow& row = rows[here];
        const LatLon stand = row.stand(n * 13 % row.count);
        const int number = 1000 * here + 500 + n;
        if (t < silent)
            send(number, 0, rollingIn(stand, t));
        else if (t > leaves && t < gone)
            send(number, 1, t < pushed ? OnGround{stand} : leaving(stand, t - pushed));
    }
    void note(const std::string& fault) {
        const std::string_view kind = std::string_view(fault).substr(0, fault.find(':'));
        if (!fault.empty() && std::ranges::none_of(faults, [&](const std::string& f) { return f.starts_with(kind); }))
            faults.insert(fmt::format("{} (second {})", fault, ticks / 100));
    }
    void look() {
        note(checkLiveTables());
        note(checkStandTables());
        for (const std::string& clash : standClashes())
            note(clash);
        const auto parked = std::ranges::count_if(liveAircraft, [](const LiveAircraft& a) {
            return a.st == AircraftStatus::active && a.fs == FlightState::parked;
        });
        mostParkedLive = std::max(mostParkedLive, static_cast<std::size_t>(parked));
        mostLive = std::max(mostLive, static_cast<std::size_t>(
                                          std::ranges::count(liveAircraft, AircraftStatus::active, &LiveAircraft::st)));
        mostStatic = std::max(mostStatic, static_cast<std::size_t>(std::ranges::count(
                                              parkedAircraft, AircraftStatus::active, &AiAircraft::st)));
        if (ticks % 500 != 0)
            return;
        const auto mix = [this](const void* data, std::size_t size) {
            for (std::size_t i = 0; i < size; ++i)
                hash = (hash ^ static_cast<const unsigned char*>(data)[i]) * 1099511628211ULL;
        };
        for (const world::SimObject& o : world::inprocObjects()) {
            mix(o.tail.data(), o.tail.size());
            mix(o.title.data(), o.title.size());
            mix(&o.lat, sizeof o.lat);
            mix(&o.lon, sizeof o.lon);
            mix(&o.heading, sizeof o.heading);
        }
    }
};

} // namespace kes::replay
