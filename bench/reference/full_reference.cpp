// SPDX-License-Identifier: MIT
#include "bench/reference/full_reference.h"

#include "reference/scramble.h"

#include <fmt/format.h>

namespace kes::bench {

std::string letters(std::size_t number, std::size_t count) {
    std::string text(count, 'A');
    for (std::size_t i = count; i-- > 0; number /= 26)
        text[i] = static_cast<char>('A' + number % 26);
    return text;
}
std::string typeCode(std::size_t i) {
    return letters(i * 37 % 676, 2) + fmt::format("{:02}", i % 100);
}
std::string airlineCode(std::size_t i) {
    return letters(i * 13 + 700, 3);
}
std::string regcode(std::size_t i) {
    if (i % 2 == 0)
        return fmt::format("N{}{}", 100 + i / 2 % 900, letters(i / 1800, 2));
    return i % 4 == 1 ? "D-" + letters(i / 4, 4) : "OY-" + letters(i / 4, 4);
}

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    return out;
}

namespace {

std::string typeList(std::size_t first, std::size_t end) {
    std::string list;
    for (std::size_t i = first; i < end; ++i)
        list += (list.empty() ? "" : ",") + escaped(encryptModel(typeCode(i)));
    return list;
}

} // namespace

std::string fullReference() {
    std::string xml;
    const auto section = [&](const char* name, const char* child, const char* attribute, const std::string& list) {
        xml += fmt::format("<{0}><{1} {2}=\"{3}\"/></{0}>\n", name, child, attribute, list);
    };
    section("aircrafts", "aircraft", "types", typeList(0, types));
    section("high_performance", "hpf", "types", typeList(0, 30));
    section("heavy", "hvy", "types", typeList(30, 90));
    section("large", "lar", "types", typeList(90, 190));
    section("buzjet", "bzj", "types", typeList(190, 270));
    section("rotorcraft", "rot", "types", typeList(270, 320));
    section("cargo_types", "cargo_type", "types", typeList(30, 40));
    xml += "<similar_types>";
    for (std::size_t i = 0; i < 60; ++i)
        xml += fmt::format("<similar types=\"{}\"/>", typeList(i * 5, i * 5 + 5));
    xml += "</similar_types>\n";
    std::string codes = escaped(encryptAirline("ZZZ"));
    for (std::size_t i = 0; i < airlines; ++i)
        codes += "," + escaped(encryptAirline(airlineCode(i)));
    section("ICAO_airlines", "ICAO", "codes", codes);
    section("cargo_operators", "ICAO", "codes", escaped(encryptAirline(airlineCode(5))));
    xml += "<wingspans>";
    for (std::size_t i = 0; i < types; ++i)
        xml += fmt::format("<wingspan type=\"{}\" meters=\"{}.5\"/>", escaped(encryptModel(typeCode(i))), 9 + i % 70);
    xml += "</wingspans>\n<publishers>";
    for (std::size_t i = 0; i < 600; ++i) {
        // One in forty has a sign of an expression, one in twenty a dot.
        const char* const maker = i % 40 == 0 ? "Sceneries+{}" : i % 20 == 1 ? "s.c.e. {}" : "Maker{}";
        xml += fmt::format("<pub names=\"Publisher {},{}\"/>", i, fmt::format(fmt::runtime(maker), i));
    }
    xml += "</publishers>\n<simaddons20><simaddon20 arpts=\"EHAM,EDDM\"/></simaddons20>\n<dbase>\n";
    for (std::size_t i = 0; i < registrations; ++i) {
        xml +=
            fmt::format("<db reg=\"{}\" airl=\"{}\" type=\"{}\" cargo=\"{}\"/>\n", escaped(encryptRegcode(regcode(i))),
                        escaped(encryptAirline(i % 3 == 0 ? "PVT" : airlineCode(i % airlines))),
                        escaped(encryptModel(typeCode(i % types))), i % 50 == 0 ? 1 : 0);
    }
    return xml + "</dbase>\n";
}

} // namespace kes::bench
