// SPDX-License-Identifier: MIT
// Regcode files, the user's text and the server's document: any bytes give entries with a title and registrations of a
// good length.
#include "liveries/regcode_files.h"

#include "fuzz/fuzz.h"

#include <filesystem>
#include <fstream>

using kes::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = kes::fuzz::textOf(data, size);
    std::vector<kes::RegcodeEntry> entries;
    (void)kes::readRegcodeText(bytes, "a.txt", entries);
    for (const kes::RegcodeEntry& entry : entries) {
        require(!entry.title.empty());
        for (const std::string& reg : entry.regs)
            require(reg.size() >= 3 && reg.size() <= 12);
    }
    static const std::filesystem::path file = std::filesystem::temp_directory_path() / "kestrelune-fuzz-regcodes.xml";
    // Bare, and as the registrations of a livery, where the bytes get as far as the key.
    for (const bool framed : {false, true}) {
        std::ofstream out(file, std::ios::binary);
        out << (framed ? "<AIG-regcodes><livery title=\"t\" reg=\"" : "") << bytes
            << (framed ? "\"/></AIG-regcodes>" : "");
        out.close();
        entries.clear();
        require(kes::readRegcodeDocument(file, entries) || entries.empty());
        for (const kes::RegcodeEntry& entry : entries)
            require(!entry.title.empty());
    }
    return 0;
}
