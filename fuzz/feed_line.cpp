// SPDX-License-Identifier: MIT
// Any bytes as a traffic datagram: no record with a value that motion cannot use, no text that others cannot print.
#include "core/run_state.h"
#include "feed/traffic_reader.h"
#include "fuzz/fuzz.h"

#include <array>
#include <cmath>
#include <string>

namespace {

using namespace kes;
using fuzz::require;

void checkReport(const AircraftReport& r) {
    const PositionSample& s = r.sample;
    require(std::fabs(s.lat) <= 90 && std::fabs(s.lon) <= 180 && !inStartUpBox(s.lat, s.lon));
    const auto within = [](double value, const Bounds& b) { return value >= b.least && value <= b.most; };
    require(within(s.alt, altitudeBounds) && within(s.gs, speedBounds) && within(s.tas, speedBounds));
    require(within(s.vs, climbBounds) && within(s.track, trackBounds) && std::fabs(s.bank) <= pi &&
            s.trueHeading >= 0 && s.trueHeading <= twoPi);
    require(std::isfinite(r.timestamp) && r.hexid > lastStaticHexid && s.airborne == (s.alt > 0));
    require(!r.model.empty() && !(r.callsign.empty() && r.regcode.empty()) && r.regcode.size() <= 12);
    for (const std::string* text : {&r.model, &r.callsign, &r.regcode})
        for (const char c : *text)
            require(c >= ' ' && c <= '~');
    for (const std::string* code : {&r.orig, &r.dest})
        require(code->empty() || (code->size() >= shortestAirportCode && code->size() <= longestAirportCode &&
                                  code->find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                          "abcdefghijklmnopqrstuvwxyz") == std::string::npos));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    trafficReader.setUserPosition(41.3, 2.08);
    trafficReader.setReferenceAirport(FeedAirport{{41.3, 2.08}, 12.0});
    trafficReader.setCollectCallsigns();
    setRange(20000.0F);
    reportQueue.setAccepting(true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    trafficReader.text = fuzz::textOf(data, size);
    trafficReader.onDatagram();
    static std::array<AircraftReport, 1> report;
    while (reportQueue.take(report) != 0)
        checkReport(report[0]);
    return 0;
}
