// SPDX-License-Identifier: MIT
#include "world/replay/virtual_flight.h"

#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "feed/traffic_reader.h"
#include "sim/ai_commands.h"
#include "sim/definitions.h"
#include "sim/sim_client.h"
#include "spine/closing.h"
#include "spine/main_tick.h"
#include "spine/run_traffic.h"
#include "world/simulator/inproc.h"

#include <stdexcept>

namespace kes::world {

namespace {

constexpr double tickSeconds = 0.01;

void dispatchAll() {
    simconnect::SimConnect_CallDispatch(simHandle, dispatch, nullptr);
}

} // namespace

void startVirtualFlight(const SimulatorOptions& options) {
    resetRun();
    wireFloors();
    inprocStart(options);
    simconnect::HANDLE handle = nullptr;
    if (simconnect::failed(simconnect::SimConnect_Open(&handle, "Kestrelune")))
        throw std::runtime_error("the model does not answer");
    simHandle = handle;
    prepareSimQueues();
    if (!defineAll(handle))
        throw std::runtime_error("the model refuses the definitions");
    for (int i = 0; i < 1000 && !(simRunning && userAircraft.known() && firstReplySeen); ++i) {
        inprocStep(tickSeconds);
        dispatchAll();
        if (i == 10)
            requestOnGroundBeat();
        if (i % 20 == 0)
            userAircraft = readUserPosition();
    }
    if (!userAircraft.known())
        throw std::runtime_error("no position of the user's aircraft");
    trafficReader.setUserPosition(userAircraft.lat, userAircraft.lon);
    lf_readMyParkAirports();
    parkingTick(true);
    // Most flights are made without airport files; the traffic still has an airport to land at, and the range one to
    // follow.
    constexpr double anywhere = 10000.0;
    if (const auto nearest = nearestAirport(userAircraft.position(), anywhere); nearest && !airportRef) {
        const AirportRef reference{nearest->code, nearest->iata, nearest->lat, nearest->lon, nearest->alt};
        parkAirportList.assign(1, {nearest->code, "", nearest->lat, nearest->lon, 0});
        if (distanceNm(userAircraft.position(), reference.position()) <= par::AIRPORT_RANGE)
            setAirportRef(reference);
    }
    secondCounter = 0;
    computeHhNow();
    reportQueue.setAccepting(true);
}

void virtualSimulatorStep() {
    inprocStep(tickSeconds);
    dispatchAll();
}

bool virtualTick() {
    virtualSimulatorStep();
    return mainTick();
}

void virtualDatagram(std::string_view line) {
    trafficReader.text = line;
    trafficReader.onDatagram();
}

void endVirtualFlight() {
    simconnect::SimConnect_Close(simHandle.exchange(nullptr));
    inprocStop();
    resetRun();
}

} // namespace kes::world
