// SPDX-License-Identifier: MIT
#include "world/simulator/wire_log.h"

#include "simconnect/wire.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes::world {

namespace {

namespace fn = simconnect::wire::fn;

/// What stands behind the head of a packet, field by field: 'w' 32-bit word, 'i' the same with its sign, 'f' 32-bit and
/// 'd' 64-bit number, 'n' text of 256 bytes, 't' of 12, 'p' of 260, '*' 64-bit numbers up to the end.
struct Layout {
    std::uint32_t function;
    const char *name, *fields;
};

constexpr Layout layouts[] = {
    {fn::open, "open", "n"},
    {fn::subscribeSystemEvent, "subscribe", "wn"},
    {fn::addToDataDefinition, "define", "wnnwfi"},
    {fn::mapClientEvent, "map", "wn"},
    {fn::addClientEventToGroup, "group", "www"},
    {fn::setGroupPriority, "priority", "ww"},
    {fn::requestData, "request", "wwwwwwww"},
    {fn::requestDataByType, "range", "wwww"},
    {fn::setData, "set", "wwwww*"},
    {fn::transmitClientEvent, "event", "wwwww"},
    {fn::createNonAtc, "create", "ntddddddwiw"},
    {fn::releaseControl, "release", "ww"},
    {fn::removeObject, "remove", "ww"},
    {fn::setFlightPlan, "plan", "wpw"},
};

std::uint32_t sizeOfField(char field) {
    return field == 'n' ? 256 : field == 't' ? 12 : field == 'p' ? 260 : field == 'd' || field == '*' ? 8 : 4;
}

} // namespace

std::string describePacket(const Packet& packet) {
    const auto* layout = std::find_if(std::begin(layouts), std::end(layouts),
                                      [&](const Layout& l) { return l.function == packet.function; });
    if (layout == std::end(layouts))
        return fmt::format("function {} of {} bytes", packet.function, packet.size());
    std::string line = layout->name;
    std::uint32_t at = simconnect::wire::clientHeaderSize;
    for (const char* field = layout->fields; *field != 0;) {
        const std::uint32_t size = sizeOfField(*field);
        if (at + size > packet.size())
            break;
        switch (*field) {
        case 'w':
            line += fmt::format(" {}", packet.u32(at));
            break;
        case 'i':
            line += fmt::format(" {}", packet.get<std::int32_t>(at));
            break;
        case 'f':
            line += fmt::format(" {:g}", packet.get<float>(at));
            break;
        case 'd':
        case '*':
            line += fmt::format(" {:g}", packet.get<double>(at));
            break;
        default:
            line += fmt::format(" '{}'", packet.text(at, size));
        }
        at += size;
        if (*field != '*')
            ++field;
    }
    return line;
}

void recordPacket(Simulator& simulator, const Packet& packet) {
    if (simulator.wire.size() < mostWireLines)
        simulator.wire.push_back(describePacket(packet));
}

} // namespace kes::world
