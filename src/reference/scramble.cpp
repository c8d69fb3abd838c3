// SPDX-License-Identifier: MIT
#include "reference/scramble.h"

#include "core/log.h"

#include <array>
#include <fmt/format.h>
#include <stdexcept>

namespace kes {

namespace {

constexpr int lowest = '-', highest = 'Z', span = highest - lowest + 1;

// The key. Whoever changes a number makes every published document unreadable.
constexpr std::array<int, 3> airlineKey{7, -11, 16};
constexpr std::array<int, 2> shortModelKey{-9, 13};
constexpr std::array<int, 3> modelKey{5, -14, 19};
constexpr std::array<int, 4> longModelKey{-6, 17, -3, 10};
constexpr std::array<int, 24> regcodeKey{8,  -13, 4,   15, -7, 11,  -18, 2,  -5, 20,  -10, 6,
                                         14, -2,  -16, 9,  3,  -12, 18,  -8, 1,  -19, 12,  -4};

constexpr int wrapped(int value) {
    return value < lowest ? value + span : value > highest ? value - span : value;
}
char decodeChar(char c, int k) {
    return static_cast<char>(wrapped(static_cast<unsigned char>(c) - k));
}
char encodeChar(char c, int k) {
    return static_cast<char>(wrapped(c + k));
}

/// A code of the wanted sizes whose characters survive the round.
void demand(std::string_view code, std::size_t least, std::size_t most, bool plusToo) {
    bool good = code.size() >= least && code.size() <= most;
    for (const char c : code)
        good = good && ((c >= lowest && c <= highest) || (plusToo && c == '+'));
    if (!good)
        throw std::invalid_argument(fmt::format("\"{}\" cannot be scrambled", code));
}

} // namespace

std::string decryptAirline(std::string_view stored) {
    if (stored.empty())
        return {};
    if (stored.size() == 3) {
        log(fmt::format("Unencrypted airline {} in decrypt airl?", stored));
        return std::string(stored);
    }
    if (stored.size() != 6)
        throw std::runtime_error(fmt::format("decrypt airl \"{}\" error", stored));
    return {decodeChar(stored[3], airlineKey[0]), decodeChar(stored[4], airlineKey[1]),
            decodeChar(stored[1], airlineKey[2])};
}

std::string encryptAirline(std::string_view code) {
    if (code.empty())
        return {};
    demand(code, 3, 3, false);
    std::string stored(6, '-');
    stored[3] = encodeChar(code[0], airlineKey[0]);
    stored[4] = encodeChar(code[1], airlineKey[1]);
    stored[1] = encodeChar(code[2], airlineKey[2]);
    // The rest says nothing, but should not look so.
    stored[0] = static_cast<char>(lowest + (code[0] * 3 + code[1] * 5 + code[2] * 7) % span);
    stored[2] = static_cast<char>(lowest + (code[0] * 11 + code[1] + code[2] * 2) % span);
    stored[5] = static_cast<char>(lowest + (code[0] + code[1] * 13 + code[2] * 3) % span);
    for (const std::size_t filler : {0u, 2u, 5u}) {
        if (stored[filler] == '<' || stored[filler] == '>')
            stored[filler] = 'K'; // shorter in XML
    }
    return stored;
}

std::string decryptModel(std::string_view stored) {
    const auto pick = [&](const auto& positions, const auto& key) {
        std::string code;
        for (std::size_t i = 0; i < key.size(); ++i)
            code += decodeChar(stored[positions[i]], key[i]);
        return code;
    };
    switch (stored.size()) {
    case 0:
        return {};
    case 1:
        throw std::runtime_error(fmt::format("decrypt model \"{}\" error", stored));
    case 3:
        return pick(std::array<std::size_t, 3>{1, 2, 0}, modelKey);
    case 4:
        return pick(std::array<std::size_t, 4>{2, 3, 1, 0}, longModelKey);
    default:
        return pick(std::array<std::size_t, 2>{1, 0}, shortModelKey);
    }
}

std::string encryptModel(std::string_view code) {
    if (code.empty())
        return {};
    demand(code, 2, 4, false);
    std::string stored(code.size(), '-');
    const auto place = [&](const auto& positions, const auto& key) {
        for (std::size_t i = 0; i < key.size(); ++i)
            stored[positions[i]] = encodeChar(code[i], key[i]);
    };
    if (code.size() == 3)
        place(std::array<std::size_t, 3>{1, 2, 0}, modelKey);
    else if (code.size() == 4)
        place(std::array<std::size_t, 4>{2, 3, 1, 0}, longModelKey);
    else
        place(std::array<std::size_t, 2>{1, 0}, shortModelKey);
    return stored;
}

std::string decryptRegcode(std::string_view stored) {
    std::string regcode(stored);
    for (std::size_t i = 0; i < regcode.size(); ++i) {
        if (regcode[i] == '+')
            continue;
        if (i >= regcodeKey.size())
            throw std::runtime_error(fmt::format("decrypt regcode \"{}\" error", stored));
        regcode[i] = decodeChar(regcode[i], regcodeKey[i]);
    }
    return regcode;
}

std::string encryptRegcode(std::string_view regcode) {
    demand(regcode, 0, regcodeKey.size(), true);
    std::string stored(regcode);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        if (stored[i] != '+')
            stored[i] = encodeChar(stored[i], regcodeKey[i]);
    }
    return stored;
}

} // namespace kes
