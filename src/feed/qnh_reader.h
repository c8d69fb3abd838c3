// SPDX-License-Identifier: MIT
// UDP 49004: the sea-level pressure out of the weather datagram, which descents to a runway take into account. A thread
// of its own receives; the worker starts and stops it.
#pragma once

#include "core/units.h"
#include "feed/udp_reader.h"

#include <atomic>
#include <cstdint>

namespace kes {

inline constexpr std::uint16_t weatherPort = 49004;

struct QnhReader : UdpReader {
    void onDatagram() override; ///< takes the pressure over; a datagram that tells none leaves a complaint
    void onStopped() override;  ///< is logged; the lamp stays for readerLampCheck
    std::atomic<std::int32_t> lastQnh{standardQnh}; ///< hectopascal; reader thread, and resetReaders
};

extern QnhReader qnhReader;
/// Sea-level pressure in whole hectopascal, `standardQnh` until known.
extern std::atomic<std::int32_t> currentQnh;

/// Starts the reader thread on `port` (0 = 49004). A thread that still runs is stopped and joined first. Worker.
void startQnhReader(std::uint16_t port = 0);
/// Stop flag, wake-up, join. Any state. Worker.
void stopQnhReader();
/// The part of resetReaders that concerns this reader. Worker.
void resetQnhReader();

} // namespace kes
