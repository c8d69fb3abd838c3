// SPDX-License-Identifier: MIT
// A frame's worth of position records through the client to a server that reads all of it, against plain sends of the
// same bytes over a connection of the same kind in the same run. All take turns, so that a busy machine hits all alike.
#include "core/folders.h"
#include "platform/socket.h"
#include "simconnect/simconnect.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace kes::simconnect;
using kes::platform::Socket;
using Clock = std::chrono::steady_clock;

constexpr int records = 300;
constexpr std::size_t packetSize = 100;
constexpr int rounds = 2000;

/// Reads everything that comes on one connection and counts it.
struct Drain {
    Socket socket;
    std::atomic<std::size_t> bytes{0};
    std::thread thread;

    void start() {
        thread = std::thread([this] {
            std::vector<char> buffer(256 * 1024);
            for (;;) {
                const auto got = socket.receive(buffer, -1).bytes;
                if (got <= 0)
                    return;
                bytes += static_cast<std::size_t>(got);
            }
        });
    }
    ~Drain() {
        socket.stop();
        if (thread.joinable())
            thread.join();
    }
};

double microseconds(Clock::time_point from) {
    return std::chrono::duration<double, std::micro>(Clock::now() - from).count();
}

double median(std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

double worstOfHundred(std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + values.size() * 99 / 100, values.end());
    return values[values.size() * 99 / 100];
}

struct FrameContext {
    HANDLE client;
    bool flushed = false;
    bool sendFailed = false;
};

void sendRecords(FrameContext& frame) {
    const std::array<double, 8> pose{47.5, 8.5, 0.01, 0, 1.5, 35000, 0, 450};
    for (DWORD i = 0; i < records; ++i)
        if (failed(SimConnect_SetDataOnSimObject(frame.client, 402, 100 + i, 0, 1, sizeof pose, pose.data())))
            frame.sendFailed = true;
}

void onMessage(const Recv* pData, DWORD, void* pContext) {
    auto& frame = *static_cast<FrameContext*>(pContext);
    if (pData->dwID != static_cast<DWORD>(RecvId::eventFrame))
        return;
    sendRecords(frame);
    frame.flushed = true;
}

void waitForBytes(const Drain& drain, std::size_t count) {
    while (drain.bytes < count)
        std::this_thread::yield();
}

bool measure() {
    const char* step = "";
    Socket listener;
    if (listener.listenTcp("0", step) != 0) {
        std::fprintf(stderr, "%s failed\n", step);
        return false;
    }
    const std::string port = std::to_string(listener.localPort());
    std::ofstream("SimConnect.cfg") << "[SimConnect]\nPort=" << port << "\n";

    Socket plain;
    Drain plainDrain, clientDrain;
    FrameContext frame{nullptr};
    if (plain.connectTcp("127.0.0.1", port, 1000) != 0 || listener.accept(plainDrain.socket, 1000).bytes != 0) {
        std::fprintf(stderr, "no connection\n");
        return false;
    }
    std::thread simulator([&] {
        std::array<DWORD, 77> open{308, 4, 2};
        if (listener.accept(clientDrain.socket, 5000).bytes == 0)
            clientDrain.socket.sendAll({reinterpret_cast<const char*>(open.data()), sizeof open}, 1000);
    });
    const HRESULT opened = SimConnect_Open(&frame.client, "bench");
    simulator.join();
    if (failed(opened)) {
        std::fprintf(stderr, "no answer\n");
        return false;
    }
    plain.setNoDelay();
    clientDrain.socket.setNoDelay();
    std::array<DWORD, 8> event{32, 4, 7, unused, 204, 0, 0, 0};
    plainDrain.start();
    clientDrain.start();

    const std::vector<char> bytes(records * packetSize, 'x');
    std::vector<double> inFrame, outside, single, joined;
    std::size_t plainSent = 0, clientSent = 296;
    for (int round = 0; round < rounds; ++round) {
        // Inside the handler of a frame event, as the program does it. The dispatch that takes the event is timed
        // whole.
        clientDrain.socket.sendAll({reinterpret_cast<const char*>(event.data()), sizeof event}, 1000);
        for (frame.flushed = false; !frame.flushed;) {
            const auto start = Clock::now();
            if (failed(SimConnect_CallDispatch(frame.client, onMessage, &frame)))
                return false;
            if (frame.flushed)
                inFrame.push_back(microseconds(start));
        }
        waitForBytes(clientDrain, clientSent += bytes.size());

        auto start = Clock::now();
        for (int i = 0; i < records; ++i)
            plain.sendAll({bytes.data(), packetSize}, 1000);
        single.push_back(microseconds(start));
        waitForBytes(plainDrain, plainSent += bytes.size());

        start = Clock::now();
        sendRecords(frame);
        outside.push_back(microseconds(start));
        waitForBytes(clientDrain, clientSent += bytes.size());

        start = Clock::now();
        plain.sendAll(bytes, 1000);
        joined.push_back(microseconds(start));
        waitForBytes(plainDrain, plainSent += bytes.size());
    }
    const bool good = !frame.sendFailed;
    SimConnect_Close(frame.client);

    const double baseSingle = median(single), baseJoined = median(joined);
    std::printf("baseline A, %d sends of %zu bytes: %.1f us (99 %%: %.1f us)\n", records, packetSize, baseSingle,
                worstOfHundred(single));
    std::printf("baseline B, one send of %zu bytes: %.1f us (99 %%: %.1f us)\n", bytes.size(), baseJoined,
                worstOfHundred(joined));
    const auto report = [&](const char* what, std::vector<double>& values) {
        const double middle = median(values);
        std::printf("%s of %d records: %.1f us (99 %%: %.1f us), %.2f times baseline A, %.2f times baseline B\n", what,
                    records, middle, worstOfHundred(values), middle / baseSingle, middle / baseJoined);
    };
    report("flush", inFrame);
    report("sending outside the handler", outside);
    return good;
}

} // namespace

int main() {
    namespace fs = std::filesystem;
    const fs::path before = fs::current_path();
    const fs::path folder =
        fs::temp_directory_path() / ("kes_bench_simconnect_" + std::to_string(Clock::now().time_since_epoch().count()));
    fs::create_directories(folder);
    fs::current_path(folder);
    kes::setUserDataFolder(folder);
    const bool good = kes::platform::startSockets() == 0 && measure();
    kes::platform::endSockets();
    fs::current_path(before);
    fs::remove_all(folder);
    return good ? 0 : 1;
}
