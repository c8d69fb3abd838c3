// SPDX-License-Identifier: MIT
// Texts that live as long as the block that holds them, and need no room of their own. One thread at a time.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace kes {

class TextBlock {
public:
    TextBlock() = default;
    TextBlock(TextBlock&& other) noexcept
        : pieces_(std::move(other.pieces_)), next_(std::exchange(other.next_, nullptr)),
          left_(std::exchange(other.left_, 0)) {}
    TextBlock& operator=(TextBlock&& other) noexcept {
        pieces_ = std::move(other.pieces_);
        next_ = std::exchange(other.next_, nullptr);
        left_ = std::exchange(other.left_, 0);
        return *this;
    }
    /// A copy of the text, valid until `clear`, wherever the block is moved to.
    std::string_view put(std::string_view text) {
        if (text.empty())
            return {};
        if (text.size() > left_)
            grow(text.size());
        char* const copy = next_;
        text.copy(copy, text.size());
        next_ += text.size();
        left_ -= text.size();
        return {copy, text.size()};
    }
    /// Several texts one behind the other as one.
    std::string_view join(std::initializer_list<std::string_view> parts) {
        std::size_t size = 0;
        for (const std::string_view part : parts)
            size += part.size();
        if (size == 0)
            return {};
        if (size > left_)
            grow(size);
        const char* const joined = next_;
        for (const std::string_view part : parts) {
            part.copy(next_, part.size());
            next_ += part.size();
        }
        left_ -= size;
        return {joined, size};
    }
    /// Ends all texts. The room is kept, unless it was very large.
    void clear();

private:
    void grow(std::size_t least);
    struct Piece {
        std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
    };
    std::vector<Piece> pieces_;
    char* next_ = nullptr;
    std::size_t left_ = 0;
};

} // namespace kes
