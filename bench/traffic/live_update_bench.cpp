// SPDX-License-Identifier: MIT
// What a tick of many live aircraft costs: between samples only steps are added, at a sample a leg is planned.
#include "core/run_state.h"
#include "sim/ai_commands.h"
#include "traffic/leg.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/reset.h"
#include "traffic/update.h"

#include <benchmark/benchmark.h>

namespace {

void fill(std::int64_t count, std::int32_t legTicks) {
    kes::resetLiveTraffic();
    kes::tickCount = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        kes::LiveAircraft& a = kes::liveAircraft.emplace_back();
        a.hexid = 0x400000 + i;
        a.objectid = 100 + i;
        a.callsign = "DLH" + std::to_string(i);
        a.st = kes::AircraftStatus::active;
        a.fs = kes::FlightState::flying;
        a.category = kes::AircraftCategory::large;
        for (std::int32_t n = 0; n < 20; ++n) {
            kes::PositionSample s;
            s.lat = 50.0 + 0.0001 * n * legTicks / 10;
            s.lon = 8.0 + 0.01 * i;
            s.alt = 8000;
            s.airborne = true;
            s.gs = 300;
            s.tick = n * legTicks;
            a.stream.push_back(s);
        }
        a.lat = 50.0;
        a.lon = 8.0 + 0.01 * i;
    }
}

void tick() {
    kes::updateLiveAircraft();
    kes::publishPositions();
}

void betweenSamples(benchmark::State& state) {
    fill(state.range(0), 1 << 24);
    tick();
    for (auto _ : state)
        tick();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(betweenSamples)->Arg(50)->Arg(300);

void planOneLeg(benchmark::State& state) {
    fill(1, 500);
    const kes::LiveAircraft fresh = kes::liveAircraft[0];
    for (auto _ : state) {
        kes::LiveAircraft& a = kes::liveAircraft[0];
        if (a.sz() < 3)
            a = fresh;
        kes::tickCount = a.stream.front().tick;
        kes::nextPosMain(a, kes::motionNow());
    }
}
BENCHMARK(planOneLeg);

} // namespace

BENCHMARK_MAIN();
