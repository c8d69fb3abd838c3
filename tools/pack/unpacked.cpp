// SPDX-License-Identifier: MIT
#include "tools/pack/unpacked.h"

#include "platform/system.h"

#include <array>
#include <stdexcept>
#include <zlib.h>

namespace kes::pack {

std::string readUnpacked(const std::filesystem::path& file) {
    const std::string pathText = platform::pathText(file);
    const gzFile in = gzopen(pathText.c_str(), "rb");
    if (in == nullptr) {
        throw std::runtime_error("cannot read " + pathText);
    }
    std::string text;
    std::array<char, 1 << 16> bytes{};
    int got = 0;
    while ((got = gzread(in, bytes.data(), bytes.size())) > 0) {
        text.append(bytes.data(), static_cast<std::size_t>(got));
    }
    const bool whole = gzclose(in) == Z_OK && got == 0;
    if (!whole) {
        throw std::runtime_error(pathText + " is damaged");
    }
    return text;
}

} // namespace kes::pack
