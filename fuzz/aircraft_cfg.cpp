// Files of foreign packages: any bytes must come out as sections, or as a conversion error.
#include "liveries/aircraft_cfg.h"

#include "platform/system.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const kes::AircraftCfg cfg = kes::parseAircraftCfg(kes::decodeCfg({reinterpret_cast<const char*>(data), size}));
        for (const kes::CfgSection& section : cfg.sections) {
            if (section.title.find_first_of("\"\n") != std::string::npos) {
                __builtin_trap(); // a title is the inside of one pair of quotes on one line
            }
        }
    } catch (const win32::Utf8ConversionException&) {
    }
    return 0;
}
