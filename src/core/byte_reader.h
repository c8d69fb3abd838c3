// SPDX-License-Identifier: MIT
// Numbers, texts and pieces out of bytes that others wrote: packets, compiled scenery. Numbers are little-endian and
// stand at any address. Offsets and sizes may come from the bytes themselves: whatever lies outside, and whatever
// overflows, throws MissingBytes, so that a reader of nested records needs no check of its own, never goes on with a
// value that was not there, and catches once, around the file or the packet that such a record costs. Only views; the
// bytes must outlive them. Any thread.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace kes {

static_assert(std::endian::native == std::endian::little, "numbers are taken as they stand");

/// Bytes outside of those that are there; what() is "{} bytes at {} reach beyond the end at {}". Places count from the
/// first byte of the file, in whatever piece of it the fault was.
class MissingBytes : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads at any offset, counted from its own first byte.
class ByteReader {
public:
    ByteReader() = default;
    /// `start` = the place of the first byte in its file, for messages.
    explicit ByteReader(std::span<const std::byte> bytes, std::uint64_t start = 0)
        : data_(bytes.data()), size_(bytes.size()), start_(start) {}
    explicit ByteReader(std::string_view bytes, std::uint64_t start = 0)
        : ByteReader(std::as_bytes(std::span(bytes)), start) {}

    std::size_t size() const { return size_; }
    std::uint64_t start() const { return start_; }
    /// Throws MissingBytes unless `size` bytes lie at `offset`. None at all may lie at the very end.
    void require(std::size_t offset, std::size_t size) const {
        if (offset > size_ || size > size_ - offset)
            refuse(offset, size);
    }

    /// Any plain value or record, as it lies there.
    template <typename Value> Value get(std::size_t offset) const {
        static_assert(std::is_trivially_copyable_v<Value>);
        require(offset, sizeof(Value));
        Value value;
        std::memcpy(&value, data_ + offset, sizeof value);
        return value;
    }
    std::uint8_t u8(std::size_t offset) const { return get<std::uint8_t>(offset); }
    std::uint16_t u16(std::size_t offset) const { return get<std::uint16_t>(offset); }
    std::uint32_t u32(std::size_t offset) const { return get<std::uint32_t>(offset); }
    std::int32_t i32(std::size_t offset) const { return get<std::int32_t>(offset); }
    std::uint64_t u64(std::size_t offset) const { return get<std::uint64_t>(offset); }
    std::int64_t i64(std::size_t offset) const { return get<std::int64_t>(offset); }
    float f32(std::size_t offset) const { return get<float>(offset); }
    double f64(std::size_t offset) const { return get<double>(offset); }

    /// A text in a field of `size` bytes: up to its first zero, or all of it.
    std::string_view text(std::size_t offset, std::size_t size) const {
        require(offset, size);
        const std::string_view field(reinterpret_cast<const char*>(data_) + offset, size);
        return field.substr(0, field.find('\0'));
    }
    /// The `size` bytes at `offset` as a reader of their own, which ends with them.
    ByteReader part(std::size_t offset, std::size_t size) const {
        require(offset, size);
        return ByteReader(std::span(data_ + offset, size), start_ + offset);
    }
    /// All from `offset` on.
    ByteReader from(std::size_t offset) const {
        require(offset, 0);
        return part(offset, size_ - offset);
    }

private:
    [[noreturn]] void refuse(std::size_t offset, std::size_t size) const;

    const std::byte* data_ = nullptr;
    std::size_t size_ = 0;
    std::uint64_t start_ = 0;
};

/// Reads one thing behind the other. A read that throws leaves it where it was.
class ByteCursor {
public:
    explicit ByteCursor(ByteReader bytes, std::size_t at = 0) : bytes_(bytes), at_(at) { bytes_.require(at, 0); }

    std::size_t at() const { return at_; } ///< from the first byte of the reader
    std::size_t left() const { return bytes_.size() - at_; }
    bool ended() const { return left() == 0; }

    void skip(std::size_t size) {
        bytes_.require(at_, size);
        at_ += size;
    }
    /// The next `size` bytes as a reader of their own; the cursor goes behind them.
    ByteReader part(std::size_t size) {
        const ByteReader taken = bytes_.part(at_, size);
        at_ += size;
        return taken;
    }
    std::string_view text(std::size_t size) { return part(size).text(0, size); }
    template <typename Value> Value get() { return part(sizeof(Value)).template get<Value>(0); }
    std::uint8_t u8() { return get<std::uint8_t>(); }
    std::uint16_t u16() { return get<std::uint16_t>(); }
    std::uint32_t u32() { return get<std::uint32_t>(); }
    std::int32_t i32() { return get<std::int32_t>(); }
    std::uint64_t u64() { return get<std::uint64_t>(); }
    float f32() { return get<float>(); }
    double f64() { return get<double>(); }

private:
    ByteReader bytes_;
    std::size_t at_;
};

} // namespace kes
