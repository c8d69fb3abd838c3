// SPDX-License-Identifier: MIT
// The middle of a run: it connects the simulator, the traffic source and the feed, one after the other, and then stays
// in the main loop. Worker only.
#pragma once

#include <cstdint>

namespace kes {

/// Returns when the run is to end, wherever it stood. Throws what the main loop throws, and runtime_error when the port
/// of the control link cannot be had.
void runTraffic();
/// Fills the hooks by which lower floors reach what lies above them. Before the first tick of a run; worker.
void wireFloors();
/// Waits for a running flight and the user's aircraft in it, and asks the simulator what he flies. False when the run
/// is to end.
bool waitForSim();

/// UDP ports of the two readers. RealTraffic sends to fixed ones; tests take free ones before a run.
struct FeedPorts {
    std::uint16_t traffic, weather;
};
extern FeedPorts feedPorts;

} // namespace kes
