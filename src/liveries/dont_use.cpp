// SPDX-License-Identifier: MIT
#include "liveries/dont_use.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text.h"
#include "liveries/regcode_files.h"
#include "platform/system.h"
#include "update/packages.h"

#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

namespace kes {

std::vector<std::string> dontUseTitles;

void readDontUseTitles() {
    dontUseTitles.clear();
    const auto add = [](const std::vector<RegcodeEntry>& entries) {
        const std::size_t before = dontUseTitles.size();
        for (const RegcodeEntry& entry : entries) {
            if (entry.regs.empty())
                dontUseTitles.push_back(entry.title);
        }
        return dontUseTitles.size() - before;
    };
    std::vector<RegcodeEntry> entries;
    if (!fetchZipAsText("AIG-regcodes.zip", path::aigRegcodes)) {
        log("reading AIG-regcodes.zip failed?");
    } else {
        if (readRegcodeDocument(path::aigRegcodes, entries)) {
            const std::size_t added = add(entries);
            log(fmt::format("{} don't use title{} read", added, plural(static_cast<std::int64_t>(added))));
        }
        std::error_code ignored;
        std::filesystem::remove(path::aigRegcodes, ignored);
    }
    if (!hasMyRegcodes())
        return;
    entries.clear();
    readMyRegcodes(entries);
    const std::size_t added = add(entries);
    log(fmt::format("{} don't use title{} read from files in {}", added, plural(static_cast<std::int64_t>(added)),
                    platform::pathText(path::myRegcodes)));
}

} // namespace kes
