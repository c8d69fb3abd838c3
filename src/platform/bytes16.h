// SPDX-License-Identifier: MIT
// Sixteen bytes of a text at once: the vector instructions that every processor of the kind has, and plain loops of the
// same meaning for all others. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define KES_HAS_SSE2
#endif

namespace kes::platform {

/// In plain loops. A comparison gives 0xFF for a byte that is equal and 0 for another.
class PlainBytes16 {
public:
    static PlainBytes16 load(const char* bytes) { // 16 of them, at any address
        PlainBytes16 loaded;
        std::memcpy(loaded.bytes_.data(), bytes, 16);
        return loaded;
    }
    static PlainBytes16 of(char byte) {
        PlainBytes16 filled;
        filled.bytes_.fill(static_cast<std::uint8_t>(byte));
        return filled;
    }
    PlainBytes16 operator==(const PlainBytes16& b) const {
        return each(b, [](int x, int y) { return x == y ? 0xFF : 0; });
    }
    PlainBytes16 operator|(const PlainBytes16& b) const {
        return each(b, [](int x, int y) { return x | y; });
    }
    PlainBytes16 operator&(const PlainBytes16& b) const {
        return each(b, [](int x, int y) { return x & y; });
    }
    PlainBytes16 operator^(const PlainBytes16& b) const {
        return each(b, [](int x, int y) { return x ^ y; });
    }
    /// One bit for each byte whose highest bit is set, the first byte's lowest.
    std::uint32_t mask() const {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 16; ++i)
            bits |= static_cast<std::uint32_t>(bytes_[i] >> 7) << i;
        return bits;
    }

private:
    template <class Operation> PlainBytes16 each(const PlainBytes16& b, Operation operation) const {
        PlainBytes16 result;
        for (std::size_t i = 0; i < 16; ++i)
            result.bytes_[i] = static_cast<std::uint8_t>(operation(bytes_[i], b.bytes_[i]));
        return result;
    }
    std::array<std::uint8_t, 16> bytes_;
};

#ifdef KES_HAS_SSE2
/// The same in single instructions.
class Bytes16 {
public:
    static Bytes16 load(const char* bytes) { return Bytes16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))); }
    static Bytes16 of(char byte) { return Bytes16(_mm_set1_epi8(byte)); }
    Bytes16 operator==(Bytes16 b) const { return Bytes16(_mm_cmpeq_epi8(bytes_, b.bytes_)); }
    Bytes16 operator|(Bytes16 b) const { return Bytes16(_mm_or_si128(bytes_, b.bytes_)); }
    Bytes16 operator&(Bytes16 b) const { return Bytes16(_mm_and_si128(bytes_, b.bytes_)); }
    Bytes16 operator^(Bytes16 b) const { return Bytes16(_mm_xor_si128(bytes_, b.bytes_)); }
    std::uint32_t mask() const { return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes_)); }

private:
    explicit Bytes16(__m128i bytes) : bytes_(bytes) {}
    __m128i bytes_;
};
#else
using Bytes16 = PlainBytes16;
#endif

} // namespace kes::platform
