// SPDX-License-Identifier: MIT
// Files of foreign packages: any bytes must come out as liveries that can be used, or as lines that say why not.
#include "liveries/aircraft_cfg.h"

#include "tests/reference_text.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    static const bool known = [] {
        kes::test::ReferenceText text;
        text.types = {{kes::AircraftCategory::large, {"A320"}}};
        text.otherTypes = {"C172"};
        text.airlines = {"ZZZ", "DLH"};
        text.read();
        return true;
    }();
    (void)known;
    for (const char* path : {"pack/aircraft.cfg", "x/IVAO_MTL/SimObjects/Airplanes/IVAO_A320/aircraft.cfg"}) {
        const kes::CfgJudgement judgement = kes::judgeFile({}, path, {&bytes});
        for (const kes::FoundLivery& found : judgement.liveries) {
            if (found.title.empty() || found.airline.empty() || found.regcode.size() > 12 ||
                found.title.find_first_of(std::string_view("\n\0", 2)) != std::string::npos)
                __builtin_trap();
        }
    }
    return 0;
}
