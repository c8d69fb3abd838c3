// SPDX-License-Identifier: MIT
// Airport files, of which the learned ones are edited by hand and the others come from a server: any bytes give stands
// or one of the errors that are told, a learned layer never breaks its base, and what is written is read back.
#include "airports/airport_file.h"

#include "airports/airport_ref.h"
#include "core/errors.h"
#include "core/folders.h"
#include "fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace {

namespace fs = std::filesystem;
using kes::fuzz::require;
constexpr const char* base = "airports/my_thirdparty/EGLL.xml";
constexpr const char* learned = "airports/learned/thirdparty/unknown/EGLL.xml";

void put(const char* file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// False when the file is refused.
bool load() {
    kes::forgetAirportFile();
    try {
        return kes::gf_readApf(base, kes::parkAirportFile, kes::qualityPair, kes::stands).empty();
    } catch (const nwk::UserErrorException&) {
        return false;
    }
}

void check() {
    std::uint32_t sid = 0;
    for (const kes::Stand& stand : kes::stands) {
        require(stand.sid == ++sid && stand.radius >= 0 && stand.radius < 1 && stand.heading >= 0 &&
                stand.heading < 6.2832 && stand.lat >= -90 && stand.lat <= 90 && stand.lon >= -180 &&
                stand.lon <= 180 && std::ranges::find(stand.adjacent, stand.sid) == stand.adjacent.end());
        for (const kes::ParkPosOption& option : stand.options)
            require(option.hours >> 48 == 0 && option.day <= 7 && option.optIndex >= 1);
    }
}

void writeAndRead() {
    const std::vector<kes::Stand> before = kes::stands;
    kes::AirportFile file = kes::parkAirportFile;
    file.standList = before;
    file.publisher = "unknown";
    std::error_code ignored;
    fs::remove(learned, ignored);
    require(kes::writeAirportFile(file, base, true));
    // Six decimals may make a position 0, 0, which is none.
    const auto lost = std::ranges::count_if(before, [](const kes::Stand& stand) {
        return stand.lat > -1e-6 && stand.lat < 1e-6 && stand.lon > -1e-6 && stand.lon < 1e-6;
    });
    const bool isRead = load();
    require(kes::stands.size() + static_cast<std::size_t>(lost) >= before.size() && (isRead || kes::stands.empty()));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const fs::path folder = fs::temp_directory_path() / "kestrelune-fuzz-airport";
    fs::create_directories(folder / "input");
    fs::current_path(folder);
    kes::createFolders();
    fs::create_directories(fs::path(learned).parent_path());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kes::setAirportRef(kes::AirportRef{"EGLL", "LHR", 51.47, -0.46, 0});
    // The first zero byte divides base and learned file.
    const std::string_view bytes = kes::fuzz::textOf(data, size);
    const std::size_t cut = std::min(bytes.find('\0'), size);
    put(base, bytes.substr(0, cut));
    put(learned, bytes.substr(std::min(cut + 1, size)));
    if (load()) {
        check();
        writeAndRead();
    }
    return 0;
}
