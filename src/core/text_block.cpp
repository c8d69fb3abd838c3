// SPDX-License-Identifier: MIT
#include "core/text_block.h"

#include <algorithm>

namespace kes {

namespace {

constexpr std::size_t firstPiece = 4000, mostKept = 64000; ///< bytes

} // namespace

void TextBlock::grow(std::size_t least) {
    const std::size_t size = std::max(least, pieces_.empty() ? firstPiece : 2 * pieces_.back().size);
    pieces_.push_back({std::make_unique_for_overwrite<char[]>(size), size});
    next_ = pieces_.back().bytes.get();
    left_ = size;
}

void TextBlock::clear() {
    // The last piece is the largest, and mostly the only one.
    if (pieces_.size() > 1)
        pieces_.erase(pieces_.begin(), pieces_.end() - 1);
    if (!pieces_.empty() && pieces_.back().size > mostKept)
        pieces_.clear();
    next_ = pieces_.empty() ? nullptr : pieces_.back().bytes.get();
    left_ = pieces_.empty() ? 0 : pieces_.back().size;
}

} // namespace kes
