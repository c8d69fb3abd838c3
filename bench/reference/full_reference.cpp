// SPDX-License-Identifier: MIT
#include "bench/reference/full_reference.h"

#include "tests/reference_text.h"

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

std::string fullReference() {
    test::ReferenceText text;
    const auto typesFrom = [](std::size_t first, std::size_t end) {
        std::vector<std::string> codes;
        for (std::size_t i = first; i < end; ++i)
            codes.push_back(typeCode(i));
        return codes;
    };
    text.types = {{AircraftCategory::highPerf, typesFrom(0, 30)},
                  {AircraftCategory::heavy, typesFrom(30, 90)},
                  {AircraftCategory::large, typesFrom(90, 190)},
                  {AircraftCategory::buzjets, typesFrom(190, 270)},
                  {AircraftCategory::rotorcraft, typesFrom(270, 320)}};
    text.otherTypes = typesFrom(320, types);
    for (std::size_t i = 0; i < 60; ++i)
        text.similar.push_back(typesFrom(i * 5, i * 5 + 5));
    for (std::size_t i = 0; i < airlines; ++i)
        text.airlines.push_back(airlineCode(i));
    for (std::size_t i = 0; i < types; ++i)
        text.metres[typeCode(i)] = 9.5 + static_cast<double>(i % 70);
    for (std::size_t i = 0; i < 600; ++i) {
        // One in forty has a sign of an expression, one in twenty a dot.
        const char* const maker = i % 40 == 0 ? "Sceneries+{}" : i % 20 == 1 ? "s.c.e. {}" : "Maker{}";
        text.publishers.push_back({fmt::format("Publisher {}", i), fmt::format(fmt::runtime(maker), i)});
    }
    for (std::size_t i = 0; i < registrations; ++i)
        text.airframes.push_back(
            {regcode(i), i % 3 == 0 ? "PVT" : airlineCode(i % airlines), typeCode(i % types), "", i % 50 == 0});
    return text.xml();
}

} // namespace kes::bench
