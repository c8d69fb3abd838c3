// SPDX-License-Identifier: MIT
// Messages of a simulator that says anything, through the stream into the client's dispatcher. Each message in the
// input is a byte for its kind, two for its length and that many bytes behind its header, so that mutations meet the
// inside of messages and not only their sizes. Between messages the worker does what a tick does.
#include "core/log.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "fuzz/input_transport.h"
#include "sim/ai_commands.h"
#include "sim/from_simulator.h"
#include "sim/sim_client.h"
#include "simconnect/connection.h"
#include "simconnect/wire.h"

#include <cmath>
#include <vector>

namespace {

using namespace kes;
using namespace kes::simconnect;
using fuzz::require;

void append(std::vector<std::byte>& to, std::uint32_t word) {
    const auto* bytes = reinterpret_cast<const std::byte*>(&word);
    to.insert(to.end(), bytes, bytes + sizeof word);
}

/// The stream that an input stands for. Kinds above 200 are taken as they are, for what no kind of today is.
std::vector<std::byte> streamOf(std::span<const std::uint8_t> input) {
    constexpr std::uint32_t known[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 16, 27};
    std::vector<std::byte> stream;
    while (input.size() >= 3) {
        const std::uint32_t kind = input[0] > 200 ? input[0] : known[input[0] % std::size(known)];
        const std::size_t length = std::min<std::size_t>(input[1] + 256u * input[2], input.size() - 3);
        const std::uint32_t whole = std::max<std::uint32_t>(minimumSize(kind), wire::serverHeaderSize);
        const auto size = std::max<std::uint32_t>(whole, static_cast<std::uint32_t>(12 + length));
        append(stream, size);
        append(stream, 4);
        append(stream, kind);
        const auto body = std::as_bytes(input.subspan(3, length));
        stream.insert(stream.end(), body.begin(), body.end());
        stream.resize(stream.size() + size - 12 - length);
        input = input.subspan(3 + length);
    }
    return stream;
}

void checkReply(const SimReply& reply) {
    require(std::isfinite(reply.a) && std::isfinite(reply.b));
}

void checkText(const std::string& text) {
    require(quoted(text, text.size() + 1) == text); // printable UTF-8 stays what it is
}

/// What the worker would do with all that has come.
void tick(std::uint32_t number) {
    drainSimReplies(checkReply);
    userAircraft = readUserPosition();
    require(isPlausible(userAircraft) && userAircraft.alt >= 0 && std::isfinite(readouts.simFrameRate.load()));
    for (const Readout which : {Readout::simName, Readout::userTitle, Readout::userModel, Readout::userStand})
        checkText(readoutText(which));
    checkText(statusText());
    CreateRequest request;
    request.tailNumber = number % 2 == 0 ? "DLH1" : "STATIC*";
    request.title = "T";
    request.hexid = number % 2 == 0 ? 4195971 : 17;
    queueCreate(request);
    AiPositionRecord record;
    record.objectid = 100 + number % 8;
    queuePosition(record);
    publishPositions();
    queueEvent(record.objectid, event::flaps, number);
    if (number % 5 == 0)
        queueRemove(record.objectid);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    resetSimClient();
    resetSimQueues();
    resetRunFlags();
    resetUserAircraft();
    resetWindow();
    resetStatus();
    clearError();
    rtProfEdition = size % 2 == 0;
    const std::vector<std::byte> stream = streamOf(std::span(data, size));
    std::span<const std::byte> left = stream;
    Connection* client = nullptr;
    require(
        !failed(connectWith(client, std::make_unique<fuzz::InputTransport>(left, left.size()), "fuzz", 0, nullptr)));
    client->recording = false; // accepted; a refusal is a message as any other
    simHandle = client;
    std::uint32_t number = 0;
    for (HRESULT result = S_OK; result == S_OK;) {
        const auto handler = [](const Recv* message, DWORD length, void* context) {
            dispatch(message, length, nullptr);
            tick(++*static_cast<std::uint32_t*>(context));
        };
        try {
            result = SimConnect_CallDispatch(client, handler, &number);
        } catch (const nwk::UserErrorException& e) {
            checkText(e.what()); // anything else that is thrown is a finding
        }
    }
    simHandle = nullptr;
    SimConnect_Close(client);
    return 0;
}
