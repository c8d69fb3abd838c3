// SPDX-License-Identifier: MIT
#include "feed/udp_reader.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/run_state.h"
#include "feed/port_advice.h"
#include "platform/system.h"

#include <fmt/format.h>
#include <mutex>
#include <stdexcept>

namespace kes {

namespace {
/// A burst that comes while the reader waits for its turn on the processor has to fit in here, bytes.
constexpr int receiveBufferBytes = 4 << 20;

std::mutex failureMutex;
std::string failureAdvice; // guarded by failureMutex
} // namespace

void UdpReader::openSocket() {
    if (const int error = platform::startSockets())
        throw std::runtime_error(fmt::format("WSA startup error: {}", error));
    if (const int error = socket.openUdp()) {
        platform::endSockets();
        throw std::runtime_error(fmt::format("failed to create the socket with error: {}", socketErrorText(error)));
    }
    // A system that grants less still works, so the outcome does not matter.
    socket.setReceiveBuffer(receiveBufferBytes);
}

void UdpReader::bindPort(std::uint16_t port) {
    if (const int error = socket.bindUdp(port, rtOnThisPc))
        throw AdvisedError(fmt::format("bind to stream socket failed with error: {}", socketErrorText(error)),
                           portAdvice(port, platform::PortKind::udp, {}));
}

void UdpReader::receiveLoop() {
    while (!stopFlag) {
        const platform::IoResult got = socket.receive({buffer.data(), bufferSize}, -1);
        if (got.stopped)
            break;
        if (got.bytes < 0) {
            logUnlessClosing(fmt::format("receive error: {}", socketErrorText(got.error)));
            break;
        }
        const auto size = static_cast<std::size_t>(got.bytes);
        if (size == 0)
            continue;
        complaints.tellLeftOut();
        if (size >= bufferSize) {
            complaints.writeUnlessClosing(fmt::format("buffer overrun: {} bytes", size));
            continue;
        }
        buffer[size] = '\0';
        text = {buffer.data(), size};
        datagramCount.fetch_add(1, std::memory_order_relaxed);
        if (!rtOnThisPc) {
            if (text == lastText)
                continue;
            lastText.assign(text);
        }
        onDatagram();
    }
    text = {};
    socket.close();
    complaints.finish();
    onStopped();
}

void readerThread(UdpReader& reader, const ReaderNames& names, std::uint16_t port) {
    platform::nameThread(names.thread);
    bool opened = false;
    try {
        reader.openSocket();
        opened = true;
        reader.bindPort(port);
        readouts.weatherLamp = Lamp::receiving;
        if (names.setsBothLamps)
            readouts.trafficLamp = Lamp::receiving;
        repaint();
        logIndented(fmt::format("{} connected", names.thread));
        reader.receiveLoop();
    } catch (const std::exception& error) {
        logIndented(fmt::format("{} disconnected", names.thread));
        const std::string text = fmt::format("The {} has stopped with an error: {}", names.subject, error.what());
        const std::string advice = adviceOf(error);
        showStatus(text, true, advice);
        {
            const std::lock_guard lock(failureMutex);
            failureAdvice = advice.empty() ? text : advice;
        }
        readerFailed = true;
    }
    reader.socket.close();
    if (opened)
        platform::endSockets();
}

std::string readerFailureAdvice() {
    if (!readerFailed)
        return {};
    const std::lock_guard lock(failureMutex);
    return failureAdvice;
}

void ReaderThread::start(const ReaderNames& names, std::uint16_t port) {
    stop();
    // A stopped socket stays stopped, and the stop of the next thread must find its socket in place.
    reader_.socket = platform::Socket();
    reader_.stopFlag = false;
    thread_ = std::thread([this, &names, port] { readerThread(reader_, names, port); });
}

void ReaderThread::stop() {
    if (!thread_.joinable())
        return;
    reader_.stopFlag = true;
    reader_.socket.stop();
    thread_.join();
}

} // namespace kes
