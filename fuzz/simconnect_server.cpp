// SPDX-License-Identifier: MIT
// Arbitrary bytes as the stream of a client of the stand-in simulator. The first byte tells how the stream begins and
// is cut; the rest goes in as it is. What comes out must always be whole messages.
#include "fuzz/fuzz.h"
#include "tests/world_simulator/raw_client.h"

namespace {

using kes::fuzz::require;
using kes::world::Session;
using kes::world::Simulator;
using kes::world::test::RawClient;

/// A client that is well on its way: opened, with definitions, an event in a group, subscriptions and an object.
void begin(RawClient& client) {
    client.send(kes::world::test::openPacket());
    client.define(1, "Plane Latitude", "degree");
    client.define(1, "Plane Longitude", "degree");
    client.define(1, "Plane Altitude", "feet", 3);
    client.define(2, "SIM ON GROUND", "Bool", 2);
    client.define(2, "ATC ID", "", 6);
    client.define(3, "TITLE", "", 11);
    std::uint32_t id = 10;
    for (const char* event : {"Sim", "Frame", "ObjectAdded", "ObjectRemoved"})
        client.subscribe(id++, event);
    client.map(1, "FLAPS_SET");
    client.group(0, 1);
    (void)client.created("T", "", 0, 0, 0);
}

void checkOutput(Session& session) {
    std::size_t whole = 0;
    for (const auto& message : kes::world::test::cut(session.out.waiting()))
        whole += message.bytes.size();
    require(whole == session.out.size());
    session.out.take(session.out.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::uint8_t first = data[0];
    const auto bytes = std::as_bytes(std::span(data + 1, size - 1));
    Simulator simulator;
    kes::world::SimulatorOptions options;
    options.maxOutput = 1u << 20;
    if (first & 1)
        options.generation = kes::world::Generation::msfs2024;
    kes::world::start(simulator, options);
    RawClient client(simulator, false);
    Session& session = client.session();
    if (first & 2)
        begin(client);
    const std::size_t piece = first & 4 ? 1 + (first >> 3) : 4096;
    std::size_t calls = 0;
    for (std::size_t at = 0; at < bytes.size() && !session.dropped; at += piece) {
        kes::world::receive(simulator, session, bytes.subspan(at, std::min(piece, bytes.size() - at)));
        // Now and then a frame, so that what was asked for is also answered.
        if (++calls % 16 == 0)
            kes::world::advance(simulator, 34'000'000);
    }
    kes::world::advance(simulator, 1'100'000'000);
    checkOutput(session);
    kes::world::closeSession(simulator, session.id);
    require(simulator.objects.empty() && simulator.queries.empty() && simulator.pending.empty());
    kes::world::advance(simulator, 40'000'000);
    return 0;
}
