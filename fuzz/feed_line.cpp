// Any bytes as a traffic datagram: no record with a value that motion cannot use, no text that others cannot print.
#include "core/run_state.h"
#include "feed/traffic_reader.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace {

using namespace kes;

void require(bool condition) {
    if (!condition)
        std::abort();
}

void checkReport(const AircraftReport& r) {
    const PositionSample& s = r.sample;
    require(std::fabs(s.lat) <= 90 && std::fabs(s.lon) <= 180 && !inStartUpBox(s.lat, s.lon));
    for (const double value : {s.alt, s.gs, s.track, s.vs, s.tas})
        require(std::fabs(value) <= largestMeasure);
    require(std::isfinite(s.bank) && s.trueHeading >= 0 && s.trueHeading <= twoPi);
    require(std::isfinite(r.timestamp) && r.hexid > lastStaticHexid && s.airborne == (s.alt > 0));
    require(!r.model.empty() && !(r.callsign.empty() && r.regcode.empty()) && r.regcode.size() <= 12);
    for (const std::string* text : {&r.model, &r.callsign, &r.regcode, &r.orig, &r.dest})
        for (const char c : *text)
            require(c >= ' ' && c <= '~');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool prepared = [] {
        trafficReader.setUserPosition(41.3, 2.08);
        trafficReader.setReferenceAirport(FeedAirport{{41.3, 2.08}, 12.0});
        trafficReader.setCollectCallsigns();
        setRange(20000.0F);
        acceptSamples = true;
        return true;
    }();
    (void)prepared;
    trafficReader.text = {reinterpret_cast<const char*>(data), size};
    trafficReader.onDatagram();
    const std::lock_guard lock(sampleMutex);
    for (; const AircraftReport* report = reportQueue.front(); reportQueue.pop())
        checkReport(*report);
    return 0;
}
