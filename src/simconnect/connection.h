// SPDX-License-Identifier: MIT
// One connection to the simulator: numbers and writes packets, reads the stream and hands its messages over. Private to
// this folder, its tests and its fuzz target.
#pragma once

#include "simconnect/message_stream.h"
#include "simconnect/packet.h"
#include "simconnect/simconnect.h"
#include "simconnect/transport.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

namespace kes::simconnect {

/// How a further transport is reached when the simulator refuses the announced version: openTransport outside of tests.
using Reach = std::function<std::unique_ptr<Transport>(DWORD configIndex, HRESULT& result)>;

inline constexpr int maxMessagesPerCall = 4096;
/// Packets kept until the simulator has accepted the version; all definitions of the program are some 50 kB.
inline constexpr std::size_t maxRecordedBytes = 512 * 1024;

struct Connection {
    // Under `mutex`. `transport` changes only on the dispatching thread, which may therefore look at it without.
    std::mutex mutex;
    std::unique_ptr<Transport> transport; ///< null while another version is tried, and after the end
    DWORD lastSendId = 0;
    std::size_t announce = 0;        ///< index in wire::announces
    bool recording = true;           ///< until the simulator has accepted OPEN: `record` holds all packets so far
    bool writeEnded = false;         ///< the transport takes no more packets
    bool ended = false;              ///< nothing comes any more
    std::vector<std::byte> record;   ///< packets since OPEN, one behind the other, for a further try
    std::vector<std::byte> assembly; ///< the packet in work

    // Dispatching thread only.
    DWORD configIndex = 0;
    Reach reach; ///< empty: another version is not tried
    MessageStream stream;
    bool quitSeen = false;       ///< a quit message was handed over
    bool finished = false;       ///< all has been handed over
    bool heldPackets = false;    ///< the handler has sent packets that may still stand in the transport
    bool closeRequested = false; ///< the handler has closed the connection that calls it

    /// The thread that dispatches now. Packets that its handler sends are held back until the handler returns.
    std::atomic<std::thread::id> dispatcher{};
};

/// Makes a connection over a transport and writes OPEN. E_FAIL when that cannot be written; `result` is null then.
HRESULT connectWith(Connection*& result, std::unique_ptr<Transport> transport, const char* name, DWORD configIndex,
                    Reach reach);
/// Waits for the simulator's answer to OPEN and leaves it to the first dispatch; a refusal of our version is answered
/// with the next one, the last refusal is an answer as well. False when the stream ends, makes no sense, or `over` says
/// true first. Whatever else comes before the answer is for nobody. Only before the first dispatch.
bool awaitAnswer(Connection& connection, const std::function<bool()>& over);
/// Numbers and writes one packet of body and data. E_FAIL without a connection. Any thread.
HRESULT send(Connection* connection, DWORD function, const PacketBody& body, std::span<const std::byte> data = {});
/// See SimConnect_CallDispatch. While one thread is in here, a further call hands nothing over and gives S_OK.
HRESULT dispatch(Connection* connection, DispatchProc proc, void* context);
/// See SimConnect_Close.
HRESULT close(Connection* connection);

} // namespace kes::simconnect
