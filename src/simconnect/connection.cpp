// SPDX-License-Identifier: MIT
#include "simconnect/connection.h"

#include "core/byte_reader.h"
#include "core/log.h"
#include "simconnect/config.h"
#include "simconnect/wire.h"

#include <chrono>
#include <cstring>
#include <fmt/format.h>
#include <iterator>
#include <string>
#include <utility>

namespace kes::simconnect {

namespace {

// Offsets in a client packet.
constexpr std::size_t protocolAt = 4, announceAt = 272;

void put(std::byte* at, DWORD value) {
    std::memcpy(at, &value, sizeof value);
}

/// Writes what a set announces over the header of a packet and, for OPEN, over its fields.
void announceIn(std::byte* packet, const wire::Announce& set, bool isOpen) {
    put(packet + protocolAt, set.protocol);
    if (!isOpen)
        return;
    put(packet + announceAt, 0);
    std::memcpy(packet + announceAt + 4, set.tag, sizeof set.tag);
    put(packet + announceAt + 8, set.major);
    put(packet + announceAt + 12, set.minor);
    put(packet + announceAt + 16, set.buildMajor);
    put(packet + announceAt + 20, set.buildMinor);
}

/// Under the lock. What cannot be kept whole is not kept at all: half a replay would be worse than none.
void recordPacket(Connection& c, std::span<const std::byte> packet) {
    if (c.record.size() + packet.size() > maxRecordedBytes) {
        c.recording = false;
        c.record = {};
        return;
    }
    c.record.insert(c.record.end(), packet.begin(), packet.end());
}

/// Under the lock. Writes all recorded packets to a new transport in their order, with their old send ids.
bool replay(Connection& c, Transport& fresh) {
    for (std::size_t at = 0; at < c.record.size();) {
        const DWORD size = ByteReader(std::span(c.record)).u32(at);
        announceIn(c.record.data() + at, wire::announces[c.announce], at == 0);
        if (!fresh.writeHeld(std::span(c.record).subspan(at, size)))
            return false;
        at += size;
    }
    return fresh.flush();
}

/// Tries the next announced version on a new connection. False when there is none or the simulator is not reached.
bool tryNextAnnounce(Connection& c) {
    std::unique_ptr<Transport> old;
    DWORD refused = 0, next = 0;
    {
        const std::lock_guard lock(c.mutex);
        if (!c.recording || c.announce + 1 >= std::size(wire::announces))
            return false;
        refused = wire::announces[c.announce].protocol;
        next = wire::announces[c.announce + 1].protocol;
        old = std::move(c.transport);
    }
    // A refused connection accepts no second OPEN. Other threads go on: their packets are recorded meanwhile.
    old.reset();
    log(fmt::format("SimConnect: version {} refused, trying {}", refused, next));
    HRESULT result = S_OK;
    std::unique_ptr<Transport> fresh = c.reach ? c.reach(c.configIndex, result) : nullptr;
    if (!fresh)
        return false;
    clear(c.stream);
    const std::lock_guard lock(c.mutex);
    if (!c.recording)
        return false;
    ++c.announce;
    c.writeEnded = !replay(c, *fresh);
    c.transport = std::move(fresh);
    return true;
}

void acceptOpen(Connection& c) {
    const std::lock_guard lock(c.mutex);
    c.recording = false;
    c.record = {};
}

/// Sends what the handler left behind. A failure shows in the stream.
void flushHeld(Connection& c) {
    if (!std::exchange(c.heldPackets, false))
        return;
    const std::lock_guard lock(c.mutex);
    if (c.transport && !c.transport->flush())
        c.writeEnded = true;
}

/// Around a call of the handler, which may throw or close the connection.
struct HandlerCall {
    Connection& c;
    ~HandlerCall() { flushHeld(c); }
};

void handOver(Connection& c, const Recv* message, DispatchProc proc, void* context) {
    const HandlerCall call{c};
    proc(message, message->dwSize, context);
}

/// The end of the stream: closes it and, if the simulator has not said so itself, tells the handler that it is gone.
HRESULT finish(Connection& c, DispatchProc proc, void* context) {
    std::unique_ptr<Transport> old;
    RecvQuit quit;
    {
        const std::lock_guard lock(c.mutex);
        c.ended = true;
        c.recording = false;
        c.record = {};
        old = std::move(c.transport);
        quit.dwVersion = wire::announces[c.announce].protocol;
    }
    old.reset();
    c.finished = true;
    if (std::exchange(c.quitSeen, true))
        return E_FAIL;
    quit.dwSize = sizeof quit;
    quit.dwID = static_cast<DWORD>(RecvId::quit);
    handOver(c, &quit, proc, context);
    return S_OK;
}

bool isRefusal(const Recv* message) {
    return message->dwID == static_cast<DWORD>(RecvId::exception) &&
           static_cast<const RecvException*>(message)->dwException == static_cast<DWORD>(Exception::versionMismatch);
}

/// True when the message is the refusal of our version and another connection has taken the place of this one.
bool handledAsRefusal(Connection& c, const Recv* message) {
    return isRefusal(message) && tryNextAnnounce(c);
}

HRESULT dispatchAlone(Connection& c, DispatchProc proc, void* context) {
    if (c.finished)
        return E_FAIL;
    std::string fault;
    for (int handed = 0; handed < maxMessagesPerCall;) {
        Recv* message = nullptr;
        const Cut cut = nextMessage(c.stream, message, fault);
        if (cut == Cut::message) {
            if (handledAsRefusal(c, message))
                continue;
            if (message->dwID == static_cast<DWORD>(RecvId::open))
                acceptOpen(c);
            else if (message->dwID == static_cast<DWORD>(RecvId::quit))
                c.quitSeen = true;
            handOver(c, message, proc, context);
            if (c.closeRequested)
                return S_OK;
            ++handed;
            continue;
        }
        if (cut == Cut::broken) {
            log("! SimConnect: " + fault + ", connection ended");
            return finish(c, proc, context);
        }
        const std::ptrdiff_t bytes = c.transport ? c.transport->read(room(c.stream)) : -1;
        if (bytes > 0) {
            arrived(c.stream, static_cast<std::size_t>(bytes));
            continue;
        }
        if (bytes == 0) {
            const std::lock_guard lock(c.mutex);
            if (!c.writeEnded)
                return S_OK;
        }
        return finish(c, proc, context);
    }
    return S_OK;
}

/// Keeps other dispatchers out, and lets a connection go that its own handler has closed.
struct DispatchTurn {
    Connection* c;
    ~DispatchTurn() {
        if (c->closeRequested)
            delete c;
        else
            c->dispatcher = std::thread::id();
    }
};

} // namespace

HRESULT send(Connection* connection, DWORD function, const PacketBody& body, std::span<const std::byte> data) {
    if (connection == nullptr)
        return E_FAIL;
    Connection& c = *connection;
    const std::size_t size = wire::clientHeaderSize + body.size + data.size();
    if (size > wire::maxClientPacket)
        return E_INVALIDARG;
    const bool byHandler = c.dispatcher.load(std::memory_order_relaxed) == std::this_thread::get_id();

    const std::lock_guard lock(c.mutex);
    if (c.ended || (c.writeEnded && !c.recording))
        return E_FAIL;
    // 0 stands for an unknown packet in exceptions.
    const DWORD sendId = c.lastSendId + 1 != 0 ? c.lastSendId + 1 : 1;
    c.assembly.resize(size);
    std::byte* packet = c.assembly.data();
    const wire::Announce& set = wire::announces[c.announce];
    put(packet, static_cast<DWORD>(size));
    put(packet + 8, wire::functionMark | function);
    put(packet + 12, sendId);
    std::memcpy(packet + wire::clientHeaderSize, body.bytes, body.size);
    if (!data.empty())
        std::memcpy(packet + wire::clientHeaderSize + body.size, data.data(), data.size());
    announceIn(packet, set, function == wire::fn::open);

    if (c.recording)
        recordPacket(c, c.assembly);
    bool written = false;
    if (c.transport && !c.writeEnded) {
        written = byHandler ? c.transport->writeHeld(c.assembly) : c.transport->write(c.assembly);
        c.writeEnded = !written;
        if (byHandler)
            c.heldPackets = true;
    }
    // A recorded packet is not lost with its connection: a refusal of our version may be on its way to the dispatcher.
    if (!written && !c.recording)
        return E_FAIL;
    c.lastSendId = sendId;
    return S_OK;
}

HRESULT connectWith(Connection*& result, std::unique_ptr<Transport> transport, const char* name, DWORD configIndex,
                    Reach reach) {
    result = nullptr;
    auto connection = std::make_unique<Connection>();
    connection->transport = std::move(transport);
    connection->configIndex = configIndex;
    connection->reach = reach;
    PacketBody body;
    addText(body, name, wire::nameField);
    for (int i = 0; i < 6; ++i)
        add(body, DWORD{0});
    const HRESULT sent = send(connection.get(), wire::fn::open, body);
    if (failed(sent) || connection->writeEnded)
        return E_FAIL;
    result = connection.release();
    return S_OK;
}

bool awaitAnswer(Connection& c, const std::function<bool()>& over) {
    std::string fault;
    while (!over()) {
        const std::size_t head = c.stream.head;
        Recv* message = nullptr;
        const Cut cut = nextMessage(c.stream, message, fault);
        if (cut == Cut::message) {
            const bool refusal = isRefusal(message);
            if (refusal && tryNextAnnounce(c))
                continue;
            if (refusal || message->dwID == static_cast<DWORD>(RecvId::open)) {
                acceptOpen(c);
                c.stream.head = head;
                return true;
            }
            continue;
        }
        if (cut == Cut::broken) {
            logWhenNew("! SimConnect: no simulator answers: " + fault);
            return false;
        }
        const std::ptrdiff_t bytes = c.transport ? c.transport->read(room(c.stream)) : -1;
        if (bytes < 0)
            return false;
        if (bytes > 0) {
            arrived(c.stream, static_cast<std::size_t>(bytes));
            continue;
        }
        {
            const std::lock_guard lock(c.mutex);
            if (c.writeEnded)
                return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

HRESULT dispatch(Connection* connection, DispatchProc proc, void* context) {
    if (connection == nullptr)
        return E_FAIL;
    if (proc == nullptr)
        return E_INVALIDARG;
    std::thread::id nobody;
    if (!connection->dispatcher.compare_exchange_strong(nobody, std::this_thread::get_id()))
        return S_OK;
    const DispatchTurn turn{connection};
    return dispatchAlone(*connection, proc, context);
}

HRESULT close(Connection* connection) {
    if (connection == nullptr)
        return E_FAIL;
    {
        const std::lock_guard lock(connection->mutex);
        if (connection->transport)
            connection->transport->flush();
        connection->ended = true;
    }
    if (connection->dispatcher == std::this_thread::get_id())
        connection->closeRequested = true;
    else
        delete connection;
    return S_OK;
}

} // namespace kes::simconnect
