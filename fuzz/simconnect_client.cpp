// SPDX-License-Identifier: MIT
// Arbitrary bytes as the simulator's stream. The first byte of the input rules how the rest is split.
#include "simconnect/connection.h"
#include "simconnect/wire.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

using namespace kes::simconnect;

/// What is left of the input; a refused version goes on with it on another connection.
struct Input {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    std::size_t piece = 1;
};
Input input;

struct InputTransport final : Transport {
    bool write(std::span<const std::byte> packet) override {
        std::uint32_t size = 0;
        std::memcpy(&size, packet.data(), sizeof size);
        if (size != packet.size())
            std::abort();
        return true;
    }
    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        if (buffer.empty())
            std::abort();
        if (input.size == 0)
            return -1;
        const std::size_t count = std::min({input.piece, buffer.size(), input.size});
        std::memcpy(buffer.data(), input.data, count);
        input.data += count;
        input.size -= count;
        return static_cast<std::ptrdiff_t>(count);
    }
};

std::unique_ptr<Transport> reach(DWORD, HRESULT& result) {
    result = S_OK;
    return std::make_unique<InputTransport>();
}

struct Context {
    Connection* client;
    std::uint32_t sum = 0; ///< keeps the reads alive
    int quits = 0;
};

void addBytes(Context& context, const void* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        context.sum += static_cast<const unsigned char*>(bytes)[i];
}

/// Reads all that a handler may read of each kind.
void onMessage(const Recv* pData, DWORD cbData, void* pContext) {
    auto& context = *static_cast<Context*>(pContext);
    if (cbData != pData->dwSize || cbData < minimumSize(pData->dwID))
        std::abort();
    addBytes(context, pData, cbData);
    switch (static_cast<RecvId>(pData->dwID)) {
    case RecvId::open:
        if (std::strlen(static_cast<const RecvOpen*>(pData)->szApplicationName) > 255)
            std::abort();
        break;
    case RecvId::eventFilename:
        if (std::strlen(static_cast<const RecvEventFilename*>(pData)->szFileName) > 259)
            std::abort();
        break;
    case RecvId::simObjectData:
    case RecvId::simObjectDataByType: {
        const auto& message = *static_cast<const RecvSimObjectData*>(pData);
        if (dataSizeOf(message) > cbData)
            std::abort();
        addBytes(context, dataOf(message), dataSizeOf(message));
        break;
    }
    case RecvId::event:
        SimConnect_AIRemoveObject(context.client, static_cast<const RecvEvent*>(pData)->dwData, 105);
        if (static_cast<const RecvEvent*>(pData)->uEventID == 205)
            throw std::runtime_error("handler");
        break;
    case RecvId::quit:
        ++context.quits;
        break;
    default:
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    input = {data + 1, size - 1, data[0] == 0 ? size : data[0]};
    Connection* client = nullptr;
    HRESULT result = S_OK;
    if (failed(connectWith(client, reach(0, result), "fuzz", 0, reach)))
        std::abort();
    Context context{client};
    // The stream has an end, so the dispatcher must find one as well.
    for (std::size_t calls = 0; result == S_OK; ++calls) {
        if (calls > size + 4)
            std::abort();
        try {
            result = SimConnect_CallDispatch(client, onMessage, &context);
        } catch (const std::runtime_error&) {
        }
    }
    if (context.quits == 0)
        std::abort();
    SimConnect_Close(client);
    volatile std::uint32_t sink = context.sum;
    static_cast<void>(sink);
    return 0;
}
