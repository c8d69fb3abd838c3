// What an aircraft is told, as one line of short words, so that a table can say what each phase of a flight must send.
// Everything goes through the real queues and the client into a simulator model in this process; no thread runs.
//
//   throttle 16383    flaps 3072    gear 1    spoilers 0    engines on    engines off    toggle    cabin 1
//   lights nb-ts-c    all seven in their order: nav, beacon, landing, taxi, strobes, logo, cabin; '-' = off
//   controls 100 -100 spoilers and both throttles of the object itself, in percent
#pragma once

#include "sim/definitions.h"
#include "sim/sim_client.h"
#include "traffic/harness.h"
#include "world/simulator/inproc.h"

#include <fmt/format.h>
#include <string>

namespace kes::test {

/// One model of each category, in the order of AircraftCategory.
inline constexpr const char* modelOfCategory[] = {"C172", "C25A", "A320", "B77W", "F16", "EC35"};
inline constexpr std::size_t rotorcraftIndex = 5;

struct EventTest : TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        world::inprocStart({});
        world::Hooks hooks;
        hooks.event = [this](const world::SimObject&, world::ClientEvent event, std::uint32_t value) {
            note(event, value);
        };
        world::inprocSetHooks(hooks);
        {
            const auto model = world::worldSimulator();
            for (std::uint32_t id = nextObject; id < nextObject + 40; ++id)
                model->objects.emplace_back().id = id;
        }
        resetSimClient();
        simconnect::HANDLE handle = nullptr;
        ASSERT_FALSE(simconnect::failed(simconnect::SimConnect_Open(&handle, "test")));
        simHandle = handle;
        ASSERT_TRUE(defineAll(handle));
        simRequestFailed = false;
        forgetControls();
    }
    void TearDown() override {
        simconnect::SimConnect_Close(simHandle.exchange(nullptr));
        world::inprocStop();
        resetSimClient();
        TrafficTest::TearDown();
    }

    /// The only aircraft, as `activeFlight` makes it, with nothing told yet.
    LiveAircraft& onlyFlight(const std::vector<PositionSample>& stream, const std::string& model = "A320") {
        resetLiveTraffic();
        tickCount = stream.front().tick;
        nextObject = 100;
        sent();
        return activeFlight(firstHex, stream, model);
    }

    /// What was told since the last call, in order. What `controls` says comes first among all of one tick.
    std::string sent() {
        collect();
        std::string line;
        for (const std::string& word : words)
            line += (line.empty() ? "" : ", ") + word;
        words.clear();
        return line;
    }

    /// Hands all that waits to the simulator; `fly` does so after each tick.
    void collect() {
        flushOutbox();
        {
            const auto model = world::worldSimulator();
            for (const world::SimObject& object : model->objects) {
                if (object.spoilers != noControl)
                    words.push_back(fmt::format("controls {} {}", object.spoilers, object.throttle[0]) +
                                    (object.throttle[1] == object.throttle[0] ? "" : " and another"));
            }
        }
        flushCommands();
        forgetControls();
    }
    void fly(int ticks) {
        for (int i = 0; i < ticks && !HasFatalFailure(); ++i) {
            tick();
            collect();
        }
    }
    /// False when it does not come true within `limit` ticks.
    template <typename Condition> bool flyUntil(Condition condition, int limit = 20000) {
        for (int i = 0; i < limit && !condition() && !HasFatalFailure(); ++i)
            fly(1);
        return condition();
    }

private:
    static constexpr double noControl = -1.0; ///< a spoiler that nobody sets
    std::vector<std::string> words;
    std::string lights; ///< of the set that is being told

    static void forgetControls() {
        const auto model = world::worldSimulator();
        for (world::SimObject& object : model->objects)
            object.spoilers = noControl;
    }
    void note(world::ClientEvent event, std::uint32_t value) {
        using enum world::ClientEvent;
        static constexpr struct {
            world::ClientEvent event;
            char letter;
        } lightSet[] = {{navLights, 'n'}, {beaconLights, 'b'}, {landingLights, 'l'}, {taxiLights, 't'},
                        {strobes, 's'},   {logoLights, 'o'},   {cabinLights, 'c'}};
        if (lights.size() < std::size(lightSet) && event == lightSet[lights.size()].event) {
            lights += value != 0 ? lightSet[lights.size()].letter : '-';
            if (lights.size() == std::size(lightSet)) {
                words.push_back("lights " + lights);
                lights.clear();
            }
            return;
        }
        if (!lights.empty())
            words.push_back("half a set of lights " + std::exchange(lights, ""));
        words.push_back(wordOf(event, value));
    }
    static std::string wordOf(world::ClientEvent event, std::uint32_t value) {
        using enum world::ClientEvent;
        switch (event) {
        case throttle:
            return fmt::format("throttle {}", value);
        case flaps:
            return fmt::format("flaps {}", value);
        case gear:
            return fmt::format("gear {}", value);
        case spoilers:
            return fmt::format("spoilers {}", value);
        case cabinLights:
            return fmt::format("cabin {}", value);
        case engineStart:
            return "engines on";
        case engineShutdown:
            return "engines off";
        case allLightsToggle:
            return "toggle";
        default:
            return fmt::format("{} {}", world::nameOf(event), value);
        }
    }
};

} // namespace kes::test
