// SPDX-License-Identifier: MIT
#include "feed/traffic_reader.h"

#include "core/log.h"
#include "core/run_state.h"
#include "feed/qnh_reader.h"
#include "feed/recorder.h"

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
    recordDatagram(text);
    try {
        processLine();
    } catch (const std::exception& error) {
        complaints.write(fmt::format("exception in processLine: {}", error.what()));
    }
}

void TrafficReader::processLine() {
    const ParsedLine line = parse(text, inputs(), scratch);
    if (line.timestamp)
        timestamp.store(*line.timestamp, std::memory_order_relaxed);
    if (!line.callsign.empty() && collecting())
        collectCallsign(line.callsign);
    if (line.outcome == LineOutcome::complaint)
        complaints.write(fmt::format("exception in processLine: {}", line.complaint));
    if (line.outcome != LineOutcome::kept)
        return;
    scratch.sample.tick =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(tickCount.load(std::memory_order_relaxed)) +
                                  static_cast<std::uint32_t>(showDelayTicks));
    reportQueue.push(scratch);
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

FeedInputs TrafficReader::inputs() const {
    const double range = static_cast<double>(rangeNm.load(std::memory_order_relaxed));
    const std::lock_guard lock(inputMutex);
    return {userPosition, range, referenceAirport};
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
