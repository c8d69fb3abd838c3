// SPDX-License-Identifier: MIT
// Feed lines and files for the tests of the traffic source.
#pragma once

#include "support.h"

#include <cstdint>
#include <fmt/format.h>
#include <zlib.h>

struct SourceFolder : kes::test::TempFolder {
    void writeGzip(const char* name, const std::string& content) const {
        gzFile file = gzopen((path / name).c_str(), "wb");
        gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
        gzclose(file);
    }
};

inline std::string feedLine(std::uint32_t hexid, double time, double lat = 48.5, double lon = 11.5, int alt = 5000) {
    return fmt::format("RTTFC,{},{:.5f},{:.5f},{},0,1,90.00,250.00,DLH{},A320,D-AIZC,FRA,MUC,{:.1f},X2,null,adsb_icao,"
                       "-1,-1,-1,-1,-1,-1,-1,90.00,-1,none,A3,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,5000,0,DLH",
                       hexid, lat, lon, alt, hexid, time);
}
