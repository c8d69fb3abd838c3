// SPDX-License-Identifier: MIT
// Arbitrary bytes as the stream of a client of the stand-in simulator. The first byte tells how the stream begins and
// is cut; the rest goes in as it is. What comes out must always be whole messages.
#include "world/simulator/model.h"

#include <cstdlib>
#include <cstring>

namespace {

using kes::world::Session;
using kes::world::Simulator;

void put(std::vector<std::byte>& packet, std::size_t at, std::uint32_t number) {
    std::memcpy(&packet[at], &number, sizeof number);
}

/// A client that is well on its way: opened, with definitions, an event in a group, subscriptions and an object.
void begin(Simulator& simulator, Session& session) {
    const auto send = [&](std::uint32_t function, std::size_t size, auto fill) {
        std::vector<std::byte> packet(size);
        put(packet, 0, static_cast<std::uint32_t>(size));
        put(packet, 4, 4);
        put(packet, 8, 0xF0000000u | function);
        fill(packet);
        kes::world::receive(simulator, session, packet);
    };
    const auto text = [](std::vector<std::byte>& packet, std::size_t at, const char* words) {
        std::memcpy(&packet[at], words, std::strlen(words));
    };
    send(0x01, 296, [](auto&) {});
    const struct {
        std::uint32_t definition;
        const char *datum, *unit;
        std::uint32_t type;
    } fields[] = {{1, "Plane Latitude", "degree", 4},
                  {1, "Plane Longitude", "degree", 4},
                  {1, "Plane Altitude", "feet", 3},
                  {2, "SIM ON GROUND", "Bool", 2},
                  {2, "ATC ID", "", 6},
                  {3, "TITLE", "", 11}};
    for (const auto& field : fields)
        send(0x0C, 544, [&](std::vector<std::byte>& packet) {
            put(packet, 16, field.definition);
            text(packet, 20, field.datum);
            text(packet, 276, field.unit);
            put(packet, 532, field.type);
            put(packet, 540, 0xFFFFFFFF);
        });
    const char* events[] = {"Sim", "Frame", "ObjectAdded", "ObjectRemoved"};
    for (std::uint32_t i = 0; i < 4; ++i)
        send(0x17, 276, [&](std::vector<std::byte>& packet) {
            put(packet, 16, 10 + i);
            text(packet, 20, events[i]);
        });
    send(0x04, 276, [&](std::vector<std::byte>& packet) {
        put(packet, 16, 1);
        text(packet, 20, "FLAPS_SET");
    });
    send(0x07, 28, [](std::vector<std::byte>& packet) { put(packet, 20, 1); });
    send(0x29, 344, [&](std::vector<std::byte>& packet) { text(packet, 16, "T"); });
    kes::world::advance(simulator, 40'000'000);
}

void checkOutput(Session& session) {
    std::span<const std::byte> out = session.out.waiting();
    while (!out.empty()) {
        std::uint32_t size = 0;
        if (out.size() < 12)
            std::abort();
        std::memcpy(&size, out.data(), sizeof size);
        if (size < 12 || size > out.size())
            std::abort();
        out = out.subspan(size);
    }
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
    Session& session = *kes::world::openSession(simulator);
    if (first & 2)
        begin(simulator, session);
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
    if (!simulator.objects.empty() || !simulator.queries.empty() || !simulator.pending.empty())
        std::abort();
    kes::world::advance(simulator, 40'000'000);
    return 0;
}
