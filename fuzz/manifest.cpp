// SPDX-License-Identifier: MIT
// Manifests of packages: any bytes must come out as no manifest, or as texts that can stand in a line of a log.
#include "core/foreign_log.h"
#include "core/text_encoding.h"
#include "fuzz/fuzz.h"
#include "install/publisher.h"

using kes::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> lines;
    const auto info = kes::parseManifest(kes::fuzz::textOf(data, size), lines);
    if (!info)
        return 0;
    for (const std::string* text : {&info->manufacturer, &info->creator, &info->title})
        require(text->size() <= kes::longestQuote + 3 && kes::isUtf8(*text) &&
                *text == kes::quoted(*text, 2 * kes::longestQuote));
    require(lines.size() <= 3);
    return 0;
}
