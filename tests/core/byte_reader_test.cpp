// SPDX-License-Identifier: MIT
#include "core/byte_reader.h"
#include "thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

namespace kes {
namespace {

constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();

TEST(ByteReader, EveryReadGivesWhatIsThereOrThrows) {
    const std::string bytes("\x81\x82\x83\x84\x85\x86\x87\x88"
                            "ab\0c",
                            12);
    const ByteReader reader{std::string_view(bytes)};
    const struct {
        const char* name;
        std::size_t size;
        std::function<std::uint64_t(std::size_t)> read;
        std::uint64_t first;
    } numbers[] = {
        {"u8", 1, [&](std::size_t at) { return reader.u8(at); }, 0x81},
        {"u16", 2, [&](std::size_t at) { return reader.u16(at); }, 0x8281},
        {"u32", 4, [&](std::size_t at) { return reader.u32(at); }, 0x84838281},
        {"i32", 4, [&](std::size_t at) { return static_cast<std::uint64_t>(reader.i32(at)); }, 0xFFFFFFFF84838281},
        {"u64", 8, [&](std::size_t at) { return reader.u64(at); }, 0x8887868584838281},
    };
    for (const auto& [name, size, read, first] : numbers) {
        EXPECT_EQ(read(0), first) << name;
        EXPECT_NO_THROW(read(bytes.size() - size)) << name;
        for (const std::size_t beyond : {bytes.size() - size + 1, bytes.size(), huge - 1, huge})
            EXPECT_THROW(read(beyond), MissingBytes) << name << " at " << beyond;
    }
    EXPECT_EQ(reader.text(8, 4), "ab");
    EXPECT_EQ(reader.text(12, 0), "");
    const ByteReader part = reader.part(2, 3);
    EXPECT_EQ(std::tuple(part.size(), part.start(), part.u8(2)), std::tuple(3U, 2U, 0x85));
    EXPECT_EQ(reader.from(12).size(), 0U);
    EXPECT_THROW((void)part.u8(3), MissingBytes) << "there are more in the whole";
    EXPECT_THROW((void)reader.from(13), MissingBytes);
    for (const auto& [at, size] :
         {std::pair<std::size_t, std::size_t>{9, 4}, {13, 0}, {1, huge}, {huge, 1}, {huge, 2}}) {
        EXPECT_THROW((void)reader.text(at, size), MissingBytes) << at << ' ' << size;
        EXPECT_THROW((void)reader.part(at, size), MissingBytes) << at << ' ' << size;
    }
    // A cursor stays where it is when a read fails.
    ByteCursor cursor(reader, 9);
    EXPECT_EQ(cursor.u8(), 'b');
    EXPECT_THROW((void)cursor.u32(), MissingBytes);
    EXPECT_THROW(cursor.skip(huge), MissingBytes);
    EXPECT_EQ(std::tuple(cursor.at(), cursor.left(), cursor.ended()), std::tuple(10U, 2U, false));
    cursor.skip(2);
    EXPECT_TRUE(cursor.ended());
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
