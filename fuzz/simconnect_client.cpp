// SPDX-License-Identifier: MIT
// Arbitrary bytes as the simulator's stream. The first byte of the input rules how the rest is split.
#include "fuzz/input_transport.h"
#include "simconnect/connection.h"
#include "simconnect/wire.h"

#include <memory>
#include <stdexcept>

namespace {

using namespace kes::simconnect;
using kes::fuzz::require;

/// What is left; a refused version goes on with it on another connection.
std::span<const std::byte> input;
std::size_t piece = 1;

std::unique_ptr<Transport> reach(DWORD, HRESULT& result) {
    result = S_OK;
    return std::make_unique<kes::fuzz::InputTransport>(input, piece);
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
    require(cbData == pData->dwSize && cbData >= minimumSize(pData->dwID));
    addBytes(context, pData, cbData);
    switch (static_cast<RecvId>(pData->dwID)) {
    case RecvId::open:
        require(std::strlen(static_cast<const RecvOpen*>(pData)->szApplicationName) <= 255);
        break;
    case RecvId::eventFilename:
        require(std::strlen(static_cast<const RecvEventFilename*>(pData)->szFileName) <= 259);
        break;
    case RecvId::simObjectData:
    case RecvId::simObjectDataByType: {
        const auto& message = *static_cast<const RecvSimObjectData*>(pData);
        require(dataSizeOf(message) <= cbData);
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
    input = std::as_bytes(std::span(data + 1, size - 1));
    piece = data[0] == 0 ? size : data[0];
    Connection* client = nullptr;
    HRESULT result = S_OK;
    require(!failed(connectWith(client, reach(0, result), "fuzz", 0, reach)));
    Context context{client};
    // The stream has an end, so the dispatcher must find one as well.
    for (std::size_t calls = 0; result == S_OK; ++calls) {
        require(calls <= size + 4);
        try {
            result = SimConnect_CallDispatch(client, onMessage, &context);
        } catch (const std::runtime_error&) {
        }
    }
    require(context.quits > 0);
    SimConnect_Close(client);
    volatile std::uint32_t sink = context.sum;
    static_cast<void>(sink);
    return 0;
}
