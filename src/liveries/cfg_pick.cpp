// SPDX-License-Identifier: MIT
#include "liveries/cfg_pick.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define KES_HAS_AVX2
#endif

namespace kes::cfg {

namespace {

/// Tells what stands around a mark in a few look-ups, since nobody can foretell what comes next.
struct LetterTables {
    std::array<std::uint8_t, 256> left{}, middle{}, right{}; ///< parts of an index
    std::array<std::uint8_t, 3 * 5 * 6> letters{};
    std::array<std::uint8_t, bracketLetters + 1>
        distance{};                          ///< from the mark to one more letter of the key, by letters
    std::array<std::uint8_t, 256> further{}; ///< the letters that this one may belong to

    consteval LetterTables() {
        const auto both = [](char c) { // cases, as places
            return std::array{static_cast<std::size_t>(c), static_cast<std::size_t>(c & ~0x20)};
        };
        for (std::size_t i = 0; i < 4; ++i) {
            for (const std::size_t c : both("coet"[i]))
                left[c] = static_cast<std::uint8_t>(6 * (i + 1));
        }
        for (std::size_t i = 0; i < 5; ++i) {
            for (const std::size_t c : both("piatc"[i]))
                right[c] = static_cast<std::uint8_t>(i + 1);
        }
        middle['i'] = middle['I'] = 30;
        middle['['] = 60;
        struct Key {
            KeyLetters letters;
            std::string_view text;
            std::size_t mark, further;
        };
        // The further letter tells the keys from their neighbours: "atc_parking_codes" is no "atc_parking_types".
        for (const Key& key :
             {Key{titleLetters, "title", 1, 3}, Key{airlineLetters, "icao_airline", 4, 11},
              Key{parkingTypesLetters, "atc_parking_types", 3, 12}, Key{typeLetters, "icao_type_designator", 4, 10},
              Key{baseContainerLetters, "base_container", 4, 13}, Key{atcIdLetters, "atc_id", 3, 5}}) {
            const auto at = [&key](std::size_t place) { return static_cast<unsigned char>(key.text[place]); };
            letters[std::size_t{middle[at(key.mark)]} + left[at(key.mark - 1)] + right[at(key.mark + 1)]] = key.letters;
            distance[key.letters] = static_cast<std::uint8_t>(key.further - key.mark);
            for (const std::size_t c : both(key.text[key.further]))
                further[c] |= key.letters;
        }
        // What stands behind "atc_id" is no '_': "atc_id_color" and others stand in many sections.
        distance[atcIdLetters] = 3;
        for (std::uint8_t& letter : further)
            letter |= atcIdLetters;
        further['_'] &= static_cast<std::uint8_t>(~atcIdLetters);
        for (std::size_t i = 60; i < letters.size(); ++i)
            letters[i] = bracketLetters;
        further['['] |= bracketLetters;
    }
};
constexpr LetterTables tables;

/// `KeyLetters` around a '_', an 'i' in any case or a bracket; 0 for none of them.
std::uint8_t lettersAt(const char* mark) {
    const auto at = [mark](int place) { return static_cast<unsigned char>(mark[place]); };
    const std::uint8_t around =
        tables.letters[std::size_t{tables.middle[at(0)]} + tables.left[at(-1)] + tables.right[at(1)]];
    return around & tables.further[at(tables.distance[around])];
}

constexpr std::size_t blockSize = 64;

/// One bit for each byte of each block: it may be a mark. By what differs between the letters on both sides, case
/// aside: c^p = 0x13, o^t = 0x1B; c^i = 0x0A, o^a = 0x0E, e^c = 0x06; nothing for t and t. The few others that differ
/// alike go afterwards: to ask for each letter takes longer, and to ask for less leaves too many.
template <class Bytes> void markBlocks(const char* from, std::size_t blocks, std::uint64_t* found) {
    const Bytes lowerCase = Bytes::of(' '), bracket = Bytes::of('['), line = Bytes::of('_'), i = Bytes::of('i');
    const Bytes bit3 = Bytes::of(0x28), pOrT = Bytes::of(0x3B), bits23 = Bytes::of(0x2C), others = Bytes::of(0x2E);
    for (; blocks > 0; --blocks, from += blockSize) {
        std::uint64_t bits = 0;
        for (std::size_t part = 0; part < blockSize; part += 16) {
            const Bytes now = Bytes::load(from + part);
            const Bytes sides = Bytes::load(from + part - 1) ^ Bytes::load(from + part + 1);
            const Bytes key = (now == line) & (((sides | bit3) == pOrT) | ((sides | bits23) == others));
            const Bytes title = ((now | lowerCase) == i) & ((sides | lowerCase) == lowerCase);
            bits |= std::uint64_t{((now == bracket) | key | title).mask()} << part;
        }
        *found++ = bits;
    }
}

#ifdef KES_HAS_AVX2
/// The same, 32 bytes at once. In intrinsics alone: an inline function of its own would have to be
/// compiled for such a processor, too, and could then be taken for all.
[[gnu::target("avx2")]] void markBlocks32(const char* from, std::size_t blocks, std::uint64_t* found) {
    const __m256i lowerCase = _mm256_set1_epi8(' '), bracket = _mm256_set1_epi8('['), line = _mm256_set1_epi8('_'),
                  i = _mm256_set1_epi8('i');
    const __m256i bit3 = _mm256_set1_epi8(0x28), pOrT = _mm256_set1_epi8(0x3B), bits23 = _mm256_set1_epi8(0x2C),
                  others = _mm256_set1_epi8(0x2E);
    for (; blocks > 0; --blocks, from += blockSize) {
        std::uint64_t bits = 0;
        for (std::size_t part = 0; part < blockSize; part += 32) {
            const auto* const at = reinterpret_cast<const __m256i_u*>(from + part);
            const auto* const before = reinterpret_cast<const __m256i_u*>(from + part - 1);
            const auto* const behind = reinterpret_cast<const __m256i_u*>(from + part + 1);
            const __m256i now = _mm256_loadu_si256(at);
            const __m256i sides = _mm256_xor_si256(_mm256_loadu_si256(before), _mm256_loadu_si256(behind));
            const __m256i isSide = _mm256_or_si256(_mm256_cmpeq_epi8(_mm256_or_si256(sides, bit3), pOrT),
                                                   _mm256_cmpeq_epi8(_mm256_or_si256(sides, bits23), others));
            const __m256i key = _mm256_and_si256(_mm256_cmpeq_epi8(now, line), isSide);
            const __m256i title = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_or_si256(now, lowerCase), i),
                                                   _mm256_cmpeq_epi8(_mm256_or_si256(sides, lowerCase), lowerCase));
            const __m256i any = _mm256_or_si256(_mm256_or_si256(_mm256_cmpeq_epi8(now, bracket), key), title);
            bits |= std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(any))} << part;
        }
        *found++ = bits;
    }
}
#endif

using Pass = void (*)(const char*, std::size_t, std::uint64_t*);
Pass pass(Width width) {
#ifdef KES_HAS_AVX2
    if (width == Width::of32)
        return markBlocks32;
#endif
    return width == Width::byBytes ? markBlocks<platform::PlainBytes16> : markBlocks<platform::Bytes16>;
}

} // namespace

Width widest() {
#ifdef KES_HAS_AVX2
    static const bool has32 = __builtin_cpu_supports("avx2") != 0;
    if (has32)
        return Width::of32;
#endif
    return Width::of16;
}

void findMarks(std::string_view text, Marks& out, Width width) {
    constexpr std::size_t atOnce = 64; // blocks: what stays next to the processor
    std::array<std::uint64_t, atOnce> found;
    out.count = 0;
    const std::size_t blocks = (text.size() + blockSize - 1) / blockSize;
    for (std::size_t first = 0; first < blocks; first += atOnce) {
        const std::size_t count = std::min(atOnce, blocks - first);
        pass(width)(text.data() + first * blockSize, count, found.data());
        const std::size_t most = out.count + count * blockSize + 1;
        if (out.at.size() < most) {
            out.at.resize(2 * most);
            out.letters.resize(out.at.size());
        }
        std::uint32_t* const places = out.at.data();
        std::uint8_t* const letters = out.letters.data();
        std::size_t kept = out.count;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t begin = (first + i) * blockSize;
            for (std::uint64_t bits = found[i]; bits != 0; bits &= bits - 1) {
                const std::size_t at = begin + static_cast<std::size_t>(std::countr_zero(bits));
                const std::uint8_t around = lettersAt(text.data() + at);
                places[kept] = static_cast<std::uint32_t>(at);
                letters[kept] = around;
                kept += (around + 0xFFU) >> 8; // 1 for any letters
            }
        }
        out.count = kept;
    }
}

} // namespace kes::cfg
