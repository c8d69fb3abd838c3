// SPDX-License-Identifier: MIT
// Small scenery files by hand.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace kes::test {

template <typename Value> void append(std::string& bytes, Value value) {
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof value);
}
template <typename Value> void put(std::string& bytes, std::size_t at, Value value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

inline std::uint32_t lonCode(double degrees) {
    return static_cast<std::uint32_t>(std::llround((degrees + 180) / 360 * (3 << 28)));
}
inline std::uint32_t latCode(double degrees) {
    return static_cast<std::uint32_t>(std::llround((90 - degrees) / 180 * (2 << 28)));
}
inline std::uint32_t identCode(std::string_view code) {
    std::uint32_t value = 0;
    for (const char c : code)
        value = value * 38 + static_cast<std::uint32_t>(c == ' ' ? 0 : c <= '9' ? c - '0' + 2 : c - 'A' + 12);
    return value << 5 | 3;
}

struct BglParking {
    std::uint32_t name = 12, number = 5, type = 8, airlines = 0;
    float radius = 20, heading = 90;
    double lat = 50, lon = 8;
};

/// A record of any kind: the head, then `content`.
inline std::string bglRecord(std::uint16_t type, const std::string& content) {
    std::string bytes;
    append(bytes, type);
    append(bytes, static_cast<std::uint32_t>(6 + content.size()));
    return bytes + content;
}

inline std::string bglParkings(const std::vector<BglParking>& list) {
    std::string content;
    append(content, static_cast<std::uint16_t>(list.size()));
    for (const BglParking& p : list) {
        append(content, p.name | 0xC0U | p.type << 8 | p.number << 12 | p.airlines << 24);
        append(content, p.radius);
        append(content, p.heading);
        content.append(16, '\x55');
        append(content, lonCode(p.lon));
        append(content, latCode(p.lat));
        content.append(20 + 4 * p.airlines, '\x55');
    }
    return bglRecord(231, content);
}

inline std::string bglHelipad(double lat, double lon, float width) {
    std::string content(6, '\0');
    append(content, lonCode(lon));
    append(content, latCode(lat));
    content.append(8, '\x55');
    append(content, width);
    return bglRecord(38, content);
}

inline std::string bglAirport(std::string_view code, std::int32_t millimetres, const std::string& subRecords,
                              std::uint16_t type = 86) {
    std::string content(62, '\0');
    put(content, 14, millimetres);
    put(content, 34, identCode(code));
    return bglRecord(type, content + subRecords);
}

/// An airport of the form that is not read, with its identifier where real ones have it.
inline std::string newFormAirport(std::string_view code) {
    std::string bytes = bglAirport("", 0, std::string(20, '\0'), 275);
    put(bytes, 76, identCode(code) << 1);
    return bytes;
}

struct BglSection {
    std::uint32_t type = 3, flags = 0;
    std::string records;
};
/// Header, table of sections, and behind it the records of each with one entry of a subsection before them.
inline std::string bglFile(const std::vector<BglSection>& sections) {
    std::string bytes(56, '\0'), rest;
    put(bytes, 4, std::uint32_t{56});
    put(bytes, 20, static_cast<std::uint32_t>(sections.size()));
    const std::size_t start = 56 + 20 * sections.size();
    for (const BglSection& section : sections) {
        const auto at = static_cast<std::uint32_t>(start + rest.size());
        for (const std::uint32_t value : {section.type, section.flags, 1U, at, 16U})
            append(bytes, value);
        for (const std::uint32_t value : {0U, 1U, at + 16, static_cast<std::uint32_t>(section.records.size())})
            append(rest, value);
        rest += section.records;
    }
    return bytes + rest;
}
inline std::string bglFile(const std::string& records) {
    return bglFile({{3, 0, records}});
}
inline std::string bglFile(std::string_view code, const std::vector<BglParking>& parkings) {
    return bglFile(bglAirport(code, 100000, bglParkings(parkings)));
}

} // namespace kes::test
