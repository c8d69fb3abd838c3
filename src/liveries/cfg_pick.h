// SPDX-License-Identifier: MIT
// The places of an "aircraft.cfg" that can say anything: a small part of it. All functions look at up to 64 bytes
// behind the text, and one before, which have to be there and to be zero (`platform::FileBytes`). Pure, any thread.
#pragma once

#include "platform/bytes16.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kes::cfg {

/// Which keys may stand in a line, by three letters of each.
enum KeyLetters : std::uint8_t {
    titleLetters = 1,         ///< tit
    airlineLetters = 2,       ///< o_a
    parkingTypesLetters = 4,  ///< c_p
    atcIdLetters = 8,         ///< c_i
    typeLetters = 16,         ///< o_t
    baseContainerLetters = 32 ///< e_c
};

namespace letters {

/// What a letter is beside a mark, in any case; 0 = nothing.
consteval std::array<std::uint8_t, 256> sideTable(std::string_view wanted) {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        table[static_cast<unsigned char>(wanted[i])] = static_cast<std::uint8_t>(i + 1);
        table[static_cast<unsigned char>(wanted[i] - ('a' - 'A'))] = static_cast<std::uint8_t>(i + 1);
    }
    return table;
}
inline constexpr auto leftTable = sideTable("coet"), rightTable = sideTable("piatc");
/// By the mark ('_', 'i', '['), the left side and the right one.
inline constexpr std::uint8_t keyTable[3][5][6] = {{{},
                                                    {0, parkingTypesLetters, atcIdLetters, 0, 0, 0},
                                                    {0, 0, 0, airlineLetters, typeLetters, 0},
                                                    {0, 0, 0, 0, 0, baseContainerLetters},
                                                    {}},
                                                   {{}, {}, {}, {}, {0, 0, 0, 0, titleLetters, 0}},
                                                   {}};

} // namespace letters

/// The letters around a mark ('_', 'i' in any case, or a bracket, around which there are none); 0 for none of them.
inline std::uint8_t lettersAt(const char* mark) {
    // In tables, since nobody can foretell what comes next.
    const std::size_t middle = (*mark == '_' ? 0U : 1U) + (*mark == '[' ? 1U : 0U);
    return letters::keyTable[middle][letters::leftTable[static_cast<unsigned char>(mark[-1])]]
                            [letters::rightTable[static_cast<unsigned char>(mark[1])]];
}

/// How many bytes of the key stand before the mark that has these letters, which are of one key.
inline std::size_t bytesBefore(std::uint8_t letters) {
    constexpr std::array<std::uint8_t, 6> before{1, 4, 3, 3, 4, 4};
    return letters == 0 ? 0 : before[static_cast<std::size_t>(std::countr_zero(letters))];
}

/// Places in a text, and how many line feeds it holds.
struct Marks {
    std::vector<std::uint32_t> at;     ///< ascending; only the first `count` count, the rest is kept room
    std::vector<std::uint8_t> letters; ///< around each; 0 for a bracket
    std::size_t count = 0, feeds = 0;
};

/// Leaves out marks that are neither a bracket nor have letters around them.
inline void keepTrueMarks(const char* text, Marks& marks) {
    if (marks.letters.size() < marks.at.size())
        marks.letters.resize(marks.at.size());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < marks.count; ++i) {
        const std::uint32_t at = marks.at[i];
        const std::uint8_t found = lettersAt(text + at);
        marks.at[kept] = at;
        marks.letters[kept] = found;
        kept += found != 0 || text[at] == '[' ? 1U : 0U;
    }
    marks.count = kept;
}

/// Marks each '[' and the middle of the letters above, in any case: no key of a normal file is without them. One pass,
/// whatever the text holds, which has less than 4 GiB.
template <class Bytes> void findMarks(std::string_view text, Marks& out) {
    constexpr std::size_t block = 64, mostBlocks = 63; // a byte counts four feeds of a block
    const Bytes lowerCase = Bytes::of(' '), feed = Bytes::of('\n'), bracket = Bytes::of('['), line = Bytes::of('_'),
                i = Bytes::of('i');
    // By what differs between the letters on both sides, case aside: c^p = 0x13, o^t = 0x1B; c^i = 0x0A, o^a = 0x0E,
    // e^c = 0x06; nothing for t and t. The few others that differ alike go afterwards: to ask for each letter takes
    // longer, and to ask for less leaves too many.
    const Bytes bit3 = Bytes::of(0x28), pOrT = Bytes::of(0x3B), bits23 = Bytes::of(0x2C), others = Bytes::of(0x2E);
    out.count = out.feeds = 0;
    Bytes feeds = Bytes::of('\0');
    std::size_t counted = 0;
    for (std::size_t begin = 0; begin < text.size(); begin += block) {
        const char* const from = text.data() + begin;
        std::uint64_t found = 0;
        for (std::size_t part = 0; part < block; part += 16) {
            const Bytes now = Bytes::load(from + part);
            const Bytes sides = Bytes::load(from + part - 1) ^ Bytes::load(from + part + 1);
            const Bytes key = (now == line) & (((sides | bit3) == pOrT) | ((sides | bits23) == others));
            const Bytes title = ((now | lowerCase) == i) & ((sides | lowerCase) == lowerCase);
            found |= std::uint64_t{((now == bracket) | key | title).mask()} << part;
            feeds = feeds - (now == feed);
        }
        if (++counted == mostBlocks) {
            out.feeds += feeds.sum();
            feeds = Bytes::of('\0');
            counted = 0;
        }
        if (found == 0)
            continue;
        if (out.at.size() < out.count + block)
            out.at.resize(2 * out.count + 16 * block);
        std::uint32_t* to = out.at.data() + out.count;
        for (; found != 0; found &= found - 1)
            *to++ = static_cast<std::uint32_t>(begin) + static_cast<std::uint32_t>(std::countr_zero(found));
        out.count = static_cast<std::size_t>(to - out.at.data());
    }
    out.feeds += feeds.sum();
    keepTrueMarks(text.data(), out);
}

/// The first of one or two bytes from `at` on; `end` when there is none before.
inline const char* findByte(const char* at, const char* end, char one, char other) {
    using platform::Bytes16;
    const Bytes16 first = Bytes16::of(one), second = Bytes16::of(other);
    for (; at < end; at += 16) {
        const Bytes16 now = Bytes16::load(at);
        if (const std::uint32_t found = ((now == first) | (now == second)).mask())
            return std::min(at + std::countr_zero(found), end);
    }
    return end;
}

/// False for a title that holds neither a zero byte nor a name of `isLeftOut`, which nearly all are.
inline bool titleNeedsALook(std::string_view title) {
    using platform::Bytes16;
    const Bytes16 zero = Bytes16::of('\0'), f = Bytes16::of('F'), e = Bytes16::of('e'), p = Bytes16::of('P'),
                  m = Bytes16::of('M');
    for (std::size_t at = 0; at < title.size(); at += 16) {
        const Bytes16 now = Bytes16::load(title.data() + at), next = Bytes16::load(title.data() + at + 1);
        const std::uint32_t found = ((now == zero) | ((now == f) & (next == e)) | ((now == p) & (next == m))).mask();
        if (found != 0 && at + std::countr_zero(found) < title.size())
            return true;
    }
    return false;
}

} // namespace kes::cfg
