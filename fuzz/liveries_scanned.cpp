// The list of liveries, which users edit by hand: any bytes give liveries or one of the errors that the user is told.
#include "core/errors.h"
#include "core/folders.h"
#include "liveries/livery.h"

#include <cstdint>
#include <filesystem>
#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool inFolder = [] {
        const auto folder = std::filesystem::temp_directory_path() / "kestrelune-fuzz-list";
        std::filesystem::create_directories(folder / "output");
        std::filesystem::current_path(folder);
        return true;
    }();
    (void)inFolder;
    std::ofstream(kes::path::liveriesScanned, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        (void)kes::readLiveriesScanned();
    } catch (const nwk::UserErrorException&) {
    }
    return 0;
}
