// SPDX-License-Identifier: MIT
// Manifests of packages: any bytes must come out as no manifest, or as texts that can stand in a line of a log.
#include "core/foreign_log.h"
#include "core/text_encoding.h"
#include "install/publisher.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> lines;
    const auto info = kes::parseManifest({reinterpret_cast<const char*>(data), size}, lines);
    if (!info)
        return 0;
    for (const std::string* text : {&info->manufacturer, &info->creator, &info->title}) {
        if (text->size() > kes::longestQuote + 3 || !kes::isUtf8(*text) ||
            *text != kes::quoted(*text, 2 * kes::longestQuote))
            __builtin_trap();
    }
    if (lines.size() > 3)
        __builtin_trap();
    return 0;
}
