// SPDX-License-Identifier: MIT
// The places of an "aircraft.cfg" that can say anything: a small part of it. All functions look at up to 64 bytes
// behind the text, and one before, which have to be there and to be zero (`platform::FileBytes`). Pure, any thread.
#pragma once

#include "platform/bytes16.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kes::cfg {

/// Which keys may stand in a line, by three letters of each and one more that is theirs alone.
enum KeyLetters : std::uint8_t {
    titleLetters = 1,          ///< titl
    airlineLetters = 2,        ///< o_a, and the e of "airline"
    parkingTypesLetters = 4,   ///< c_p, and the t of "types"
    atcIdLetters = 8,          ///< c_i, but not "_id_"
    typeLetters = 16,          ///< o_t, and the d of "designator"
    baseContainerLetters = 32, ///< e_c, and the r at the end
    bracketLetters = 64        ///< a bracket, which needs none
};

/// How many bytes of the key stand before the mark that has these letters, which are of one key.
inline std::size_t bytesBefore(std::uint8_t letters) {
    constexpr std::array<std::uint8_t, 7> before{1, 4, 3, 3, 4, 4, 0};
    return before[static_cast<std::size_t>(std::countr_zero(letters))];
}

/// Places in a text.
struct Marks {
    std::vector<std::uint32_t> at;     ///< ascending; only the first `count` count, the rest is kept room
    std::vector<std::uint8_t> letters; ///< `KeyLetters` around each
    std::size_t count = 0;
};

/// The instructions that a search uses; each finds the same.
enum class Width : std::uint8_t { byBytes, of16, of32 };
/// The widest that this processor has.
Width widest();
/// Marks each '[' and the middle of the letters above, in any case: no key of a normal file is without them. The text
/// has less than 4 GiB.
void findMarks(std::string_view text, Marks& out, Width width = widest());

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

/// A key, which is compared with 16 bytes at once and in any case.
class KeyWord {
public:
    template <std::size_t N> consteval KeyWord(const char (&word)[N]) : size(N - 1) { // in lower case
        static_assert(N - 1 <= sizeof bytes_);
        for (std::size_t i = 0; i < size; ++i) {
            bytes_[i] = word[i];
            lowerCase_[i] = word[i] >= 'a' && word[i] <= 'z' ? ' ' : '\0';
        }
    }
    [[gnu::always_inline]] bool standsAt(const char* text) const {
        return part(text, 0) && (size <= 16 || part(text, 16));
    }
    const std::size_t size;

private:
    [[gnu::always_inline]] bool part(const char* text, std::size_t from) const {
        using platform::Bytes16;
        const std::uint32_t wanted = (1U << std::min<std::size_t>(size - from, 16)) - 1;
        const Bytes16 now = Bytes16::load(text + from) | Bytes16::load(lowerCase_.data() + from);
        return (~(now == Bytes16::load(bytes_.data() + from)).mask() & wanted) == 0;
    }
    alignas(16) std::array<char, 32> bytes_{};
    alignas(16) std::array<char, 32> lowerCase_{};
};

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
