// SPDX-License-Identifier: MIT
#include "world/simulator/stance.h"

#include "core/text.h"

#include <cctype>

namespace kes::world {

namespace {

struct Row {
    std::string_view keyword;
    Stance stance;
};

// The first keyword that stands in the title decides, so longer ones come before their beginnings.
constexpr Row rows[] = {
    {"A380", {16.8, -0.1, "A388"}},      {"A350", {14.1, -0.4, "A359"}},      {"A340", {14.0, -0.6, "A343"}},
    {"A330", {13.6, -0.3, "A333"}},      {"A321", {10.1, -0.1, "A321"}},      {"A320", {9.8, 0.2, "A320"}},
    {"A319", {9.6, 0.2, "A319"}},        {"A318", {9.5, 0.1, "A318"}},        {"A310", {12.7, -0.2, "A310"}},
    {"A300", {12.9, -0.2, "A306"}},      {"A220", {8.9, 0.1, "BCS3"}},        {"747", {16.2, -0.2, "B744"}},
    {"777", {14.8, -0.1, "B77W"}},       {"787", {14.4, -0.3, "B789"}},       {"767", {13.2, -0.3, "B763"}},
    {"757", {12.1, -0.3, "B752"}},       {"737", {8.8, 0.3, "B738"}},         {"717", {7.9, 0.1, "B712"}},
    {"MD-11", {14.3, -0.2, "MD11"}},     {"MD-8", {7.8, 0.1, "MD83"}},        {"EMB-190", {9.1, -0.1, "E190"}},
    {"E190", {9.1, -0.1, "E190"}},       {"EMB-170", {8.8, -0.1, "E170"}},    {"E170", {8.8, -0.1, "E170"}},
    {"EMB-145", {7.0, 0.2, "E145"}},     {"CRJ", {7.2, 0.4, "CRJ9"}},         {"ATR", {7.6, 0.2, "AT76"}},
    {"DASH 8", {8.4, 0.3, "DH8D"}},      {"DHC-8", {8.4, 0.3, "DH8D"}},       {"Q400", {8.4, 0.3, "DH8D"}},
    {"GULFSTREAM", {7.1, -0.2, "GLF5"}}, {"CITATION", {4.6, 0.1, "C56X"}},    {"KING AIR", {4.4, -0.4, "BE20"}},
    {"CARAVAN", {5.1, -0.5, "C208"}},    {"PC-12", {4.9, -0.3, "PC12"}},      {"CESSNA 172", {3.7, -2.0, "C172"}},
    {"C172", {3.7, -2.0, "C172"}},       {"CESSNA 152", {3.4, -1.9, "C152"}}, {"PIPER", {3.2, -1.6, "P28A"}},
    {"HELICOPTER", {5.3, -0.8, "EC35"}},
};

} // namespace

Stance stanceOf(std::string_view title) {
    const std::string text = upper(title);
    for (const Row& row : rows)
        if (text.find(row.keyword) != std::string::npos)
            return row.stance;
    std::uint32_t hash = 2166136261u;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return {3.0 + (hash >> 8) % 1401 / 100.0, -0.9 + (hash >> 20) % 17 / 10.0, ""};
}

} // namespace kes::world
