// Feed lines and files for the tests of the traffic source.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <string>
#include <vector>
#include <zlib.h>

/// A folder of its own, removed at the end.
struct TempFolder {
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kes_source_XXXXXX").string();
        path = mkdtemp(name.data());
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    void write(const char* name, const std::string& content) const {
        std::ofstream(path / name, std::ios::binary) << content;
    }
    void writeGzip(const char* name, const std::string& content) const {
        gzFile file = gzopen((path / name).c_str(), "wb");
        gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
        gzclose(file);
    }
    std::filesystem::path path;
};

inline std::string feedLine(std::uint32_t hexid, double time, double lat = 48.5, double lon = 11.5, int alt = 5000) {
    return fmt::format("RTTFC,{},{:.5f},{:.5f},{},0,1,90.00,250.00,DLH{},A320,D-AIZC,FRA,MUC,{:.1f},X2,null,adsb_icao,"
                       "-1,-1,-1,-1,-1,-1,-1,90.00,-1,none,A3,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,5000,0,DLH",
                       hexid, lat, lon, alt, hexid, time);
}
