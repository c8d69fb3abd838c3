// SPDX-License-Identifier: MIT
// A client that writes and reads packets by their offsets, so that a wrong layout shows.
#pragma once

#include "world/simulator/model.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world::test {

using Bytes = std::vector<std::byte>;

/// A packet under construction: 16 bytes of head, the size filled in at the end.
class Packet {
public:
    explicit Packet(std::uint32_t function, std::uint32_t sendId) : bytes_(16) {
        put(4, std::uint32_t{4});
        put(8, 0xF0000000u | function);
        put(12, sendId);
    }
    template <typename Number> Packet& add(Number number) {
        const std::size_t at = bytes_.size();
        bytes_.resize(at + sizeof number);
        put(at, number);
        return *this;
    }
    Packet& u32(std::uint32_t number) { return add(number); }
    Packet& text(std::string_view text, std::size_t field) {
        const std::size_t at = bytes_.size();
        bytes_.resize(at + field);
        std::memcpy(&bytes_[at], text.data(), std::min(text.size(), field));
        return *this;
    }
    Packet& zeros(std::size_t count) {
        bytes_.resize(bytes_.size() + count);
        return *this;
    }
    const Bytes& bytes() {
        put(0, static_cast<std::uint32_t>(bytes_.size()));
        return bytes_;
    }

private:
    template <typename Number> void put(std::size_t at, Number number) {
        std::memcpy(&bytes_[at], &number, sizeof number);
    }
    Bytes bytes_;
};

struct Message {
    Bytes bytes;
    template <typename Number> Number get(std::size_t at) const {
        Number number{};
        if (at + sizeof number <= bytes.size())
            std::memcpy(&number, &bytes[at], sizeof number);
        return number;
    }
    std::uint32_t u32(std::size_t at) const { return get<std::uint32_t>(at); }
    std::uint32_t kind() const { return u32(8); }
};

namespace kind {
inline constexpr std::uint32_t exception = 1, open = 2, quit = 3, addRemove = 5, frame = 7, data = 8, assigned = 12;
}

/// A message in a few words, by the fields that tell it from others of its kind.
inline std::string told(const Message& m) {
    if (m.kind() == kind::exception)
        return fmt::format("exception {} of packet {}, index {}", m.u32(12), m.u32(16), m.get<std::int32_t>(20));
    if (m.kind() == kind::addRemove)
        return fmt::format("object {} {}", m.u32(16), m.u32(20));
    return fmt::format("kind {}", m.kind());
}

/// Cuts a stream into messages; every size word must fit.
inline std::vector<Message> cut(std::span<const std::byte> stream) {
    std::vector<Message> messages;
    while (stream.size() >= 12) {
        std::uint32_t size;
        std::memcpy(&size, stream.data(), sizeof size);
        if (size < 12 || size > stream.size())
            break;
        messages.push_back({Bytes(stream.begin(), stream.begin() + size)});
        stream = stream.subspan(size);
    }
    return messages;
}

/// Speaks to a session of a simulator directly.
class RawClient {
public:
    explicit RawClient(Simulator& simulator) : simulator_(simulator), session_(openSession(simulator)) {
        Packet open(0x01, 1);
        send(open.text("Test", 256).u32(0).text(std::string_view("\0XSF", 4), 4).u32(10).u32(0).u32(61259).u32(0));
    }

    Session& session() { return *session_; }

    bool send(Packet packet) { return receive(simulator_, *session_, packet.bytes()); }
    Packet next(std::uint32_t function) { return Packet(function, ++sendId_); }

    void define(std::uint32_t id, std::string_view datum, std::string_view unit, std::uint32_t type = 4) {
        send(next(0x0C).u32(id).text(datum, 256).text(unit, 256).u32(type).add(0.0f).u32(0xFFFFFFFF));
    }
    void definePose() {
        for (const char* angle : {"Plane Latitude", "Plane Longitude"})
            define(402, angle, "degree");
        for (const char* angle : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            define(402, angle, "radians");
        define(402, "Plane Altitude", "feet");
        define(402, "Vertical Speed", "feet per second");
        define(402, "Airspeed True", "knots");
    }
    void subscribe(std::uint32_t id, std::string_view name) { send(next(0x17).u32(id).text(name, 256)); }
    void map(std::uint32_t id, std::string_view name) { send(next(0x04).u32(id).text(name, 256)); }
    void group(std::uint32_t group, std::uint32_t event) { send(next(0x07).u32(group).u32(event).u32(1)); }
    void transmit(std::uint32_t object, std::uint32_t event, std::uint32_t value) {
        send(next(0x05).u32(object).u32(event).u32(value).u32(1).u32(0x10));
    }
    void create(std::string_view title, std::string_view tail, double lat, double lon, double alt) {
        Packet packet = next(0x29).text(title, 256).text(tail, 12).add(lat).add(lon).add(alt);
        send(packet.zeros(16).add(90.0).u32(0).u32(0).u32(104));
    }
    void remove(std::uint32_t object) { send(next(0x2C).u32(object).u32(105)); }
    void request(std::uint32_t id, std::uint32_t definition, std::uint32_t object, std::uint32_t period) {
        send(next(0x0E).u32(id).u32(definition).u32(object).u32(period).zeros(16));
    }
    void range(std::uint32_t id, std::uint32_t definition, std::uint32_t metres) {
        send(next(0x0F).u32(id).u32(definition).u32(metres).u32(2));
    }
    void setPose(std::uint32_t object, const double (&pose)[8]) {
        Packet packet = next(0x10);
        packet.u32(402).u32(object).u32(0).u32(1).u32(64);
        for (const double value : pose)
            packet.add(value);
        send(std::move(packet));
    }

    /// All that has come since the last call.
    std::vector<Message> take() {
        std::vector<Message> messages = cut(session_->out.waiting());
        session_->out.take(session_->out.size());
        return messages;
    }
    std::vector<Message> take(std::uint32_t wanted) {
        std::vector<Message> some = take();
        std::erase_if(some, [&](const Message& message) { return message.kind() != wanted; });
        return some;
    }

    /// The same in words, each with a semicolon.
    std::string told() {
        std::string all;
        for (const Message& message : take())
            all += test::told(message) + ";";
        return all;
    }
    std::string refused(std::uint32_t exception, std::int32_t index) const {
        return fmt::format("exception {} of packet {}, index {};", exception, sendId_, index);
    }
    /// Creates an aircraft, lets a frame pass and returns its id; 0 when none was assigned.
    std::uint32_t created(std::string_view title, std::string_view tail, double lat, double lon, double alt) {
        create(title, tail, lat, lon, alt);
        advance(simulator_, 40'000'000);
        const std::vector<Message> assigned = take(kind::assigned);
        return assigned.empty() ? 0 : assigned.back().u32(16);
    }

private:
    Simulator& simulator_;
    Session* session_;
    std::uint32_t sendId_ = 1;
};

/// A simulator without hills at 50 N 8 E, 30 frames per second.
struct World {
    explicit World(SimulatorOptions options = flat()) { start(simulator, options); }
    static SimulatorOptions flat() {
        SimulatorOptions options;
        options.lat = 50;
        options.lon = 8;
        options.altFeet = 300;
        options.terrain.hillFeet = 0;
        options.terrain.airfields.push_back({50, 8, 300, 20});
        return options;
    }
    void seconds(double s) { advance(simulator, static_cast<std::int64_t>(s * 1e9)); }
    void frame() { advance(simulator, 33'400'000); }
    Simulator simulator;
};

} // namespace kes::world::test
