#include "feed/traffic_reader.h"

#include "core/log.h"
#include "feed/qnh_reader.h"

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

namespace kes {

TrafficReader trafficReader;

namespace {
constexpr ReaderNames names{"Traffic Reader", "TrafficReader ", true};
// Behind the reader, so that it is destroyed before it and joins the thread first.
ReaderThread thread(trafficReader);
} // namespace

void TrafficReader::onDatagram() {
    // Ground vehicles under way announce themselves in the callsign.
    if (text.find(" VEH") != std::string_view::npos)
        return;
    // A sender that ends its lines would otherwise put the line end into the last field.
    std::string_view line = text;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    try {
        splitFields(line, fields);
        processLine();
    } catch (const std::exception& error) {
        complaints.write(fmt::format("exception in processLine: {}", error.what()));
    }
}

void TrafficReader::onStopped() {
    readouts.trafficLamp = Lamp::stopped;
    repaint();
    log("Traffic Reader has stopped");
}

void TrafficReader::setUserPosition(double lat, double lon) {
    const std::lock_guard lock(inputMutex);
    userPosition = {lat, lon};
}

void TrafficReader::setReferenceAirport(const std::optional<FeedAirport>& airport) {
    const std::lock_guard lock(inputMutex);
    referenceAirport = airport;
}

void TrafficReader::clearCallsigns() {
    const std::lock_guard lock(inputMutex);
    callsigns.clear();
}

void TrafficReader::setCollectCallsigns() {
    collectCallsigns = true;
}

std::set<std::string> TrafficReader::takeCallsigns() {
    const std::lock_guard lock(inputMutex);
    collectCallsigns = false;
    return std::exchange(callsigns, {});
}

void TrafficReader::collectCallsign(std::string_view callsign) {
    std::string key(callsign);
    const std::lock_guard lock(inputMutex);
    // The worker may have taken the set since the flag was read.
    if (collectCallsigns && callsigns.size() < maxCallsigns)
        callsigns.insert(std::move(key));
}

void startTrafficReader(std::uint16_t port) {
    thread.start(names, port == 0 ? trafficPort : port);
}

void stopTrafficReader() {
    thread.stop();
}

void resetReaders() {
    resetQnhReader();
    trafficReader.timestamp = 0;
    trafficReader.clearCallsigns();
    trafficReader.stopFlag = false;
    trafficReader.lampShowsData = true;
}

} // namespace kes
