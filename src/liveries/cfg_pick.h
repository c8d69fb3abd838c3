// The places of an "aircraft.cfg" that can say anything: a small part of it. All functions look at up to 64 bytes
// behind the text, and one before, which have to be there and to be zero (`platform::FileBytes`). Pure, any thread.
#pragma once

#include "platform/bytes16.h"

#include <algorithm>
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

/// The letters around a mark; 0 for a bracket and for a mark that is none of them.
inline std::uint8_t lettersAt(const char* mark) {
    const char left = static_cast<char>(mark[-1] | ' '), right = static_cast<char>(mark[1] | ' ');
    if (*mark != '_')
        return (*mark | ' ') == 'i' && left == 't' && right == 't' ? titleLetters : 0;
    switch (left) {
    case 'c':
        return right == 'p' ? parkingTypesLetters : right == 'i' ? atcIdLetters : 0;
    case 'o':
        return right == 'a' ? airlineLetters : right == 't' ? typeLetters : 0;
    default:
        return left == 'e' && right == 'c' ? baseContainerLetters : 0;
    }
}

/// Places in a text, and how many line feeds it holds.
struct Marks {
    std::vector<std::uint32_t> at; ///< ascending; only the first `count` count, the rest is kept room
    std::size_t count = 0, feeds = 0;
};

/// Marks each '[' and the middle of the letters above, in any case: no key of a normal file is without them. Some of
/// the marks have other letters around them (`lettersAt` tells), since to know all exactly takes twice the time. One
/// pass, whatever the text holds, which has less than 4 GiB.
template <class Bytes> void findMarks(std::string_view text, Marks& out) {
    constexpr std::size_t block = 64, mostBlocks = 63; // a byte counts four feeds of a block
    const Bytes lowerCase = Bytes::of(' '), feed = Bytes::of('\n'), bracket = Bytes::of('['), line = Bytes::of('_'),
                i = Bytes::of('i');
    out.count = out.feeds = 0;
    Bytes feeds = Bytes::of('\0');
    std::size_t counted = 0;
    for (std::size_t begin = 0; begin < text.size(); begin += block) {
        const char* const from = text.data() + begin;
        std::uint64_t found = 0;
        for (std::size_t part = 0; part < block; part += 16) {
            const Bytes now = Bytes::load(from + part);
            const Bytes sides = Bytes::load(from + part - 1) ^ Bytes::load(from + part + 1);
            // The letters on both sides of '_' all differ in the bit 0x02: c^p = 0x13, o^t = 0x1B, c^i = 0x0A,
            // o^a = 0x0E, e^c = 0x06. Those of a title differ in nothing but, maybe, their case.
            const Bytes key = (now == line) & sides.template shiftedLeft<6>();
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
