// The lines of an "aircraft.cfg" that can say anything: a small part of it. Pure, any thread.
#pragma once

#include "platform/bytes16.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
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

/// The letters around a mark that is no bracket.
inline std::uint8_t lettersAt(std::string_view text, std::size_t mark) {
    if (text[mark] != '_')
        return titleLetters;
    const char right = static_cast<char>(text[mark + 1] | ' ');
    switch (text[mark - 1] | ' ') {
    case 'c':
        return right == 'p' ? parkingTypesLetters : atcIdLetters;
    case 'o':
        return right == 'a' ? airlineLetters : typeLetters;
    default:
        return baseContainerLetters;
    }
}

/// Places in a text, and how many line feeds it holds.
struct Marks {
    std::vector<std::uint32_t> at; ///< ascending; only the first `count` count, the rest is kept room
    std::size_t count = 0, feeds = 0;
};

/// Marks each '[' and the middle of the letters above, in any case: no key of a normal file is without them. One pass,
/// whatever the text holds, which has less than 4 GiB.
template <class Bytes> void findMarks(std::string_view text, Marks& out) {
    constexpr std::size_t block = 64, mostBlocks = 63; // a byte counts four feeds of a block
    const Bytes lowerCase = Bytes::of(' '), feed = Bytes::of('\n'), bracket = Bytes::of('[');
    const Bytes a = Bytes::of('a'), c = Bytes::of('c'), e = Bytes::of('e'), i = Bytes::of('i'), o = Bytes::of('o'),
                p = Bytes::of('p'), t = Bytes::of('t'), line = Bytes::of('_');
    out.count = out.feeds = 0;
    Bytes feeds = Bytes::of('\0');
    std::size_t counted = 0;
    for (std::size_t begin = 0; begin < text.size(); begin += block) {
        const char* from = text.data() + begin;
        char edge[block + 2];
        if (begin == 0 || begin + block >= text.size()) {
            // No byte outside of the text is looked at; zero stands for it.
            const std::size_t before = begin == 0 ? 0 : 1;
            std::memset(edge, 0, sizeof edge);
            std::memcpy(edge + 1 - before, from - before, std::min(block + 1, text.size() - begin) + before);
            from = edge + 1;
        }
        std::uint64_t found = 0;
        for (std::size_t part = 0; part < block; part += 16) {
            const Bytes now = Bytes::load(from + part), left = Bytes::load(from + part - 1) | lowerCase,
                        right = Bytes::load(from + part + 1) | lowerCase;
            const Bytes key =
                (now == line) & (((left == c) & ((right == p) | (right == i))) |
                                 ((left == o) & ((right == a) | (right == t))) | ((left == e) & (right == c)));
            const Bytes title = (left == t) & ((now | lowerCase) == i) & (right == t);
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
        for (; found != 0; found &= found - 1)
            out.at[out.count++] =
                static_cast<std::uint32_t>(begin) + static_cast<std::uint32_t>(std::countr_zero(found));
    }
    out.feeds += feeds.sum();
}

} // namespace kes::cfg
