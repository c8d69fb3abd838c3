// SPDX-License-Identifier: MIT
#include "core/byte_reader.h"

#include <fmt/format.h>

namespace kes {

void ByteReader::refuse(std::size_t offset, std::size_t size) const {
    throw MissingBytes(fmt::format("{} bytes at {} reach beyond the end at {}", size, start_ + offset, start_ + size_));
}

} // namespace kes
