// SPDX-License-Identifier: MIT
#include "world/source/fleet.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace kes::source {

namespace {

constexpr Performance performances[] = {
    {"A319", "A3", 132, 142, 447, 1.05}, {"A320", "A3", 136, 146, 450, 1.0},  {"A20N", "A3", 134, 145, 450, 1.05},
    {"A321", "A3", 141, 151, 452, 0.95}, {"A21N", "A3", 139, 150, 452, 0.95}, {"B738", "A3", 143, 150, 455, 1.0},
    {"B38M", "A3", 142, 150, 455, 1.05}, {"BCS3", "A3", 130, 140, 448, 1.1},  {"E190", "A3", 130, 140, 445, 1.05},
    {"E195", "A3", 131, 142, 445, 1.0},  {"CRJ9", "A3", 138, 143, 445, 1.0},  {"DH8D", "A3", 122, 125, 350, 0.8},
    {"AT76", "A3", 115, 118, 275, 0.7},  {"A333", "A5", 140, 152, 470, 0.85}, {"A343", "A5", 141, 155, 468, 0.7},
    {"A359", "A5", 142, 152, 482, 0.95}, {"A388", "A5", 142, 158, 485, 0.8},  {"B77W", "A5", 147, 160, 485, 0.85},
    {"B77L", "A5", 143, 158, 482, 0.9},  {"B788", "A5", 140, 152, 480, 1.0},  {"B789", "A5", 143, 155, 482, 0.95},
    {"B748", "A5", 150, 160, 490, 0.8},  {"C56X", "A2", 112, 112, 420, 1.2},  {"C172", "A1", 65, 60, 105, 0.4},
    {"DA40", "A1", 70, 65, 125, 0.4},    {"P28A", "A1", 66, 62, 110, 0.4},    {"SR22", "A1", 80, 75, 160, 0.5},
    {"EC35", "A7", 0, 0, 120, 0.5},      {"EC45", "A7", 0, 0, 125, 0.5},      {"GRND", "C2", 0, 0, 25, 0.0},
};

const Performance& performanceOf(std::string_view model) {
    for (const Performance& p : performances) {
        if (p.model == model) {
            return p;
        }
    }
    return performances[0];
}

/// A registration pattern: an 'A' among the last two characters stands for a letter, 'z' for one of a few, '#' for a
/// digit from 1, other characters for themselves.
struct Entry {
    const char* airline;
    const char* iata;
    const char* model;
    const char* pattern;
    const char* base;
    std::uint32_t block; ///< first transponder address of the state's block
    unsigned weight;
};

constexpr std::uint32_t germany = 0x3C4000, ireland = 0x4CA000, britain = 0x406000, france = 0x394000,
                        netherlands = 0x484000, austria = 0x440000, switzerland = 0x4B1000, turkey = 0x4BA000,
                        sweden = 0x4AC000, greece = 0x46A000, spain = 0x343000, portugal = 0x495000, poland = 0x48A000,
                        italy = 0x4D2000, finland = 0x461000, emirates = 0x896000, qatar = 0x06A000, america = 0xA40000,
                        denmark = 0x45D000, hungary = 0x471000, japan = 0x867000;

constexpr Entry locals[] = {
    {"DLH", "LH", "A320", "D-AIzA", "MUC", germany, 9},     {"DLH", "LH", "A20N", "D-AINA", "MUC", germany, 5},
    {"DLH", "LH", "A21N", "D-AIEA", "MUC", germany, 4},     {"DLH", "LH", "A321", "D-AISA", "MUC", germany, 4},
    {"DLH", "LH", "A319", "D-AILA", "MUC", germany, 3},     {"DLH", "LH", "A359", "D-AIXA", "MUC", germany, 3},
    {"DLH", "LH", "A343", "D-AIGA", "MUC", germany, 1},     {"CLH", "CL", "CRJ9", "D-ACNA", "MUC", germany, 3},
    {"DLA", "EN", "E195", "I-ADJA", "MUC", italy, 3},       {"EWG", "EW", "A320", "D-AEWA", "DUS", germany, 3},
    {"EWG", "EW", "A319", "D-AGWA", "HAM", germany, 2},     {"CFG", "DE", "A320", "D-AICA", "FRA", germany, 2},
    {"BAW", "BA", "A320", "G-EUYA", "LHR", britain, 2},     {"BAW", "BA", "A20N", "G-TTNA", "LHR", britain, 1},
    {"RYR", "FR", "B738", "EI-DAA", "DUB", ireland, 2},     {"AFR", "AF", "A320", "F-GKXA", "CDG", france, 2},
    {"KLM", "KL", "E190", "PH-EZA", "AMS", netherlands, 2}, {"KLM", "KL", "B738", "PH-BXA", "AMS", netherlands, 1},
    {"AUA", "OS", "E195", "OE-LWA", "VIE", austria, 2},     {"AUA", "OS", "DH8D", "OE-LGA", "VIE", austria, 1},
    {"SWR", "LX", "BCS3", "HB-JCA", "ZRH", switzerland, 2}, {"THY", "TK", "A321", "TC-JRA", "IST", turkey, 2},
    {"SAS", "SK", "A20N", "SE-ROA", "CPH", sweden, 1},      {"AEE", "A3", "A320", "SX-DVA", "ATH", greece, 1},
    {"IBE", "IB", "A320", "EC-MAA", "MAD", spain, 1},       {"TAP", "TP", "A20N", "CS-TVA", "LIS", portugal, 1},
    {"LOT", "LO", "E190", "SP-LMA", "WAW", poland, 1},      {"FIN", "AY", "A319", "OH-LVA", "HEL", finland, 1},
    {"UAE", "EK", "A388", "A6-EAA", "DXB", emirates, 1},    {"QTR", "QR", "B788", "A7-BCA", "DOH", qatar, 1},
    {"UAL", "UA", "B789", "N2#9##", "EWR", america, 1},     {"ANA", "NH", "B789", "JA8##A", "HND", japan, 1},
    {"VLG", "VY", "A320", "EC-LAA", "BCN", spain, 2},       {"", "", "C56X", "D-CAAA", "NUE", germany, 1},
};

constexpr Entry overflights[] = {
    {"RYR", "FR", "B738", "EI-EAA", "BGY", ireland, 4},  {"RYR", "FR", "B38M", "EI-HAA", "STN", ireland, 3},
    {"WZZ", "W6", "A21N", "HA-LVA", "BUD", hungary, 3},  {"DLH", "LH", "A320", "D-AIUA", "FRA", germany, 3},
    {"AUA", "OS", "A320", "OE-LBA", "VIE", austria, 2},  {"SWR", "LX", "A320", "HB-JLA", "ZRH", switzerland, 2},
    {"THY", "TK", "B738", "TC-JVA", "SAW", turkey, 2},   {"THY", "TK", "A333", "TC-JNA", "IST", turkey, 2},
    {"UAE", "EK", "B77W", "A6-EPA", "DXB", emirates, 2}, {"QTR", "QR", "B77W", "A7-BEA", "DOH", qatar, 1},
    {"AFR", "AF", "A321", "F-GTAA", "CDG", france, 1},   {"BAW", "BA", "A21N", "G-NEOA", "LHR", britain, 2},
    {"EZY", "U2", "A320", "G-EZWA", "LGW", britain, 2},  {"SAS", "SK", "A20N", "SE-DOA", "ARN", sweden, 1},
    {"BOX", "3S", "B77L", "D-AALA", "LEJ", germany, 1},  {"GEC", "LH", "B77L", "D-ALFA", "FRA", germany, 1},
    {"CLX", "CV", "B748", "LX-VCA", "LUX", 0x4D0100, 1}, {"BCS", "QY", "A333", "D-ACVA", "LEJ", germany, 1},
    {"SXS", "XQ", "B738", "TC-SOA", "AYT", turkey, 2},   {"VOE", "V7", "A319", "EC-NAA", "VCE", spain, 1},
    {"DTR", "DX", "AT76", "OY-RUA", "BLL", denmark, 1},  {"", "", "C56X", "OE-GAA", "SZG", austria, 1},
};

constexpr Entry lights[] = {
    {"", "", "C172", "D-EAAA", "", germany, 3}, {"", "", "DA40", "D-EDAA", "", germany, 2},
    {"", "", "P28A", "D-EPAA", "", germany, 2}, {"", "", "SR22", "N22#AA", "", america, 1},
    {"", "", "C172", "OE-DAA", "", austria, 1},
};

constexpr Entry helicopters[] = {
    {"CHX", "", "EC35", "D-HZSA", "", germany, 2},
    {"BPO", "", "EC35", "D-HVBA", "", germany, 1},
    {"", "", "EC45", "D-HAAA", "", germany, 1},
};

constexpr Entry vehicles[] = {{"", "", "GRND", "null", "", germany, 1}};

constexpr std::string_view destinations[] = {
    "FRA", "LHR", "CDG", "AMS", "MAD", "BCN", "FCO", "VIE", "ZRH", "HAM", "TXL", "DUS", "CPH", "ARN", "OSL", "HEL",
    "WAW", "PRG", "BUD", "ATH", "IST", "LIS", "MXP", "VCE", "NCE", "BRU", "DUB", "EDI", "CGN", "BER", "OTP", "SOF"};

std::string registrationBy(const char* pattern, std::mt19937& random) {
    std::string text;
    const std::string_view p = pattern;
    // The state and fleet prefix stays: only capitals behind the last fixed mark vary.
    std::size_t fixedUntil = p.find('-');
    fixedUntil = fixedUntil == std::string_view::npos ? 1 : fixedUntil + 1;
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (i < fixedUntil) {
            text += p[i];
        } else if (p[i] == '#') {
            text += static_cast<char>('1' + pick(random, 9));
        } else if (p[i] == 'A' && i + 2 >= p.size()) {
            text += static_cast<char>('A' + pick(random, 26));
        } else if (p[i] == 'z') {
            text += "ZPWQ"[pick(random, 4)];
        } else {
            text += p[i];
        }
    }
    return text;
}

template <std::size_t n> const Entry& draw(const Entry (&table)[n], std::mt19937& random) {
    unsigned total = 0;
    for (const Entry& e : table) {
        total += e.weight;
    }
    unsigned at = pick(random, total);
    for (const Entry& e : table) {
        if (at < e.weight) {
            return e;
        }
        at -= e.weight;
    }
    return table[0];
}

const Entry& drawEntry(std::mt19937& random, Role role) {
    switch (role) {
    case Role::Local:
        return draw(locals, random);
    case Role::Overflight:
        return draw(overflights, random);
    case Role::Light:
        return draw(lights, random);
    case Role::Helicopter:
        return draw(helicopters, random);
    case Role::Vehicle:
        break;
    }
    return vehicles[0];
}

} // namespace

std::uint32_t pick(std::mt19937& random, std::uint32_t n) {
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(random()) * n) >> 32);
}

double between(std::mt19937& random, double a, double b) {
    return a + (b - a) * (static_cast<double>(random()) / 4294967296.0);
}

Airframe drawAirframe(Fleet& fleet, std::mt19937& random, Role role) {
    for (;;) {
        const Entry& e = drawEntry(random, role);
        Airframe a;
        a.performance = &performanceOf(e.model);
        a.airline = e.airline;
        a.iata = e.iata;
        a.homeBase = e.base;
        const bool named = std::string_view(e.pattern) != "null";
        a.regcode = named ? registrationBy(e.pattern, random) : "";
        a.hexid = e.block + pick(random, 0x1000);
        if ((named && fleet.regcodes.contains(a.regcode)) || fleet.hexids.contains(a.hexid)) {
            continue;
        }
        if (named) {
            fleet.regcodes.insert(a.regcode);
        }
        fleet.hexids.insert(a.hexid);
        return a;
    }
}

void releaseAirframe(Fleet& fleet, const Airframe& airframe) {
    fleet.regcodes.erase(airframe.regcode);
    fleet.hexids.erase(airframe.hexid);
}

std::string drawCallsign(Fleet& fleet, std::mt19937& random, const Airframe& airframe, std::string& flightNumber) {
    flightNumber.clear();
    if (airframe.airline.empty()) {
        std::string call = airframe.regcode;
        std::erase(call, '-');
        fleet.callsigns.insert(call);
        return call;
    }
    for (;;) {
        std::string call;
        if (pick(random, 3) == 0) {
            constexpr std::string_view letters = "ABCDEFGHJKLMNPQRSTUVWXYZ";
            call = fmt::format("{}{}{}{}", airframe.airline, 1 + pick(random, 98), letters[pick(random, 24)],
                               letters[pick(random, 24)]);
        } else {
            const std::uint32_t number = 20 + pick(random, 2400);
            call = fmt::format("{}{}", airframe.airline, number);
            if (!airframe.iata.empty()) {
                flightNumber = fmt::format("{}{}", airframe.iata, number);
            }
        }
        if (fleet.callsigns.insert(call).second) {
            return call;
        }
        flightNumber.clear();
    }
}

std::string_view drawDestination(std::mt19937& random) {
    return destinations[pick(random, std::size(destinations))];
}

} // namespace kes::source
