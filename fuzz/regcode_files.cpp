// Regcode files, the user's text and the server's document: any bytes give entries with a title and registrations of a
// good length.
#include "liveries/regcode_files.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::vector<kes::RegcodeEntry> entries;
    (void)kes::readRegcodeText(bytes, "a.txt", entries);
    for (const kes::RegcodeEntry& entry : entries) {
        if (entry.title.empty())
            std::abort();
        for (const std::string& reg : entry.regs) {
            if (reg.size() < 3 || reg.size() > 12)
                std::abort();
        }
    }
    static const std::filesystem::path file = std::filesystem::temp_directory_path() / "kestrelune-fuzz-regcodes.xml";
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    (void)kes::readRegcodeDocument(file, entries);
    return 0;
}
