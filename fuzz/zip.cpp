// SPDX-License-Identifier: MIT
// Zips of a server that is not ours: any bytes open or do not, and no entry is read beyond itself.
#include "platform/zip.h"

#include "fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path file = std::filesystem::temp_directory_path() / "kestrelune-fuzz.zip";
    std::ofstream(file, std::ios::binary) << kes::fuzz::textOf(data, size);
    kes::platform::ZipArchive zip(file);
    if (!zip.open())
        return 0;
    const auto entries = zip.getEntries();
    kes::fuzz::require(entries.size() <= zip.countEntries());
    for (const kes::platform::ZipEntry& entry : entries) {
        if (entry.getSize() > 1'000'000)
            continue;
        bool good = false;
        const std::string text = entry.readAsText(&good);
        std::ostringstream out;
        const bool streamed = entry.readContent(out, 4096) == 0;
        kes::fuzz::require(good == streamed && (!good || out.str() == text)); // two ways to one content
    }
    return 0;
}
