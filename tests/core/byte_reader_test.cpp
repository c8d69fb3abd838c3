// SPDX-License-Identifier: MIT
#include "core/byte_reader.h"
#include "thrown.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <random>

namespace kes {
namespace {

constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();

/// The value of `Number` at an offset, byte by byte, when all of it is there.
template <typename Number> std::optional<Number> expected(const std::string& bytes, std::size_t offset) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        if (offset >= bytes.size() || bytes.size() - offset <= i)
            return {};
        value |= std::uint64_t{static_cast<unsigned char>(bytes[offset + i])} << 8 * i;
    }
    return static_cast<Number>(value);
}

template <typename Read> auto readBy(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const MissingBytes&) {
        return {};
    }
}

TEST(ByteReader, EveryReadGivesWhatIsThereOrThrows) {
    std::mt19937_64 random(7);
    const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    for (int round = 0; round < 3000; ++round) {
        std::string all(below(40), '\0');
        for (char& c : all)
            c = static_cast<char>(below(4) == 0 ? 0 : random());
        // An offset or a size that a file may name: mostly near the end, at times one whose sum overflows.
        const auto wild = [&] { return below(8) == 0 ? huge - below(50) : below(all.size() + 12); };
        const std::size_t begin = wild(), length = below(3) == 0 ? below(3) : wild();
        const bool inside = begin <= all.size() && length <= all.size() - begin;
        const ByteReader whole{std::string_view(all)};
        const auto reader = readBy([&] { return whole.part(begin, length); });
        ASSERT_EQ(reader.has_value(), inside) << begin << ' ' << length << ' ' << all.size();
        ASSERT_EQ(readBy([&] { return whole.from(begin).size(); }).has_value(), begin <= all.size());
        if (!inside)
            continue;
        const std::string bytes = all.substr(begin, length);
        ASSERT_EQ(reader->size(), length);
        ASSERT_EQ(reader->start(), begin);
        const std::size_t at = wild(), size = wild();
        ASSERT_EQ(readBy([&] { return reader->u8(at); }), expected<std::uint8_t>(bytes, at));
        ASSERT_EQ(readBy([&] { return reader->u16(at); }), expected<std::uint16_t>(bytes, at));
        ASSERT_EQ(readBy([&] { return reader->u32(at); }), expected<std::uint32_t>(bytes, at));
        ASSERT_EQ(readBy([&] { return reader->i32(at); }), expected<std::int32_t>(bytes, at));
        ASSERT_EQ(readBy([&] { return reader->u64(at); }), expected<std::uint64_t>(bytes, at));
        const auto text = readBy([&] { return std::string(reader->text(at, size)); });
        ASSERT_EQ(text.has_value(), at <= length && size <= length - at);
        if (text) {
            ASSERT_EQ(*text, std::string(bytes.substr(at, size).c_str()));
        }
        // A cursor gives the same as reads at its place, and stays there when one fails.
        if (at > length)
            continue;
        ByteCursor cursor(*reader, at);
        for (std::size_t place = at; !cursor.ended();) {
            const auto word = readBy([&] { return cursor.u16(); });
            ASSERT_EQ(word, expected<std::uint16_t>(bytes, place));
            place += word ? 2 : 0;
            const std::size_t step = wild();
            const auto skipped = readBy([&] { return cursor.skip(step), true; });
            ASSERT_EQ(skipped.has_value(), step <= length - place);
            place += skipped ? step : 0;
            ASSERT_EQ(cursor.at(), place);
            ASSERT_EQ(cursor.left(), length - place);
        }
    }
}

TEST(ByteReader, FloatsAndThePlaceOfAFaultInANestedPiece) {
    const std::string bytes("head\x00\x00\xC0\x3F\x00\x00\x00\x00\x00\x00\x04\xC0", 16);
    ByteCursor cursor(ByteReader(bytes, 1000).part(4, 12));
    EXPECT_EQ(cursor.f32(), 1.5f);
    EXPECT_EQ(cursor.f64(), -2.5);
    EXPECT_EQ(ByteReader().part(0, 0).size(), 0u);
    EXPECT_EQ(test::thrownBy([&] { ByteReader(bytes, 1000).part(4, 12).from(8).u64(0); }),
              "8 bytes at 1012 reach beyond the end at 1016");
}

} // namespace
} // namespace kes
