// SPDX-License-Identifier: MIT
// Files of foreign packages: any bytes must come out as liveries that can be used, or as lines that say why not.
#include "liveries/aircraft_cfg.h"

#include "fuzz/fuzz.h"
#include "tests/reference_text.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kes::test::ReferenceText text;
    text.types = {{kes::AircraftCategory::large, {"A320"}}};
    text.otherTypes = {"C172"};
    text.airlines = {"ZZZ", "DLH"};
    text.read();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(kes::fuzz::textOf(data, size));
    for (const char* path : {"pack/aircraft.cfg", "x/IVAO_MTL/SimObjects/Airplanes/IVAO_A320/aircraft.cfg"}) {
        const kes::CfgJudgement judgement = kes::judgeFile({}, path, {&bytes});
        for (const kes::FoundLivery& found : judgement.liveries)
            kes::fuzz::require(!found.title.empty() && !found.airline.empty() && found.regcode.size() <= 12 &&
                               found.title.find_first_of(std::string_view("\n\0", 2)) == std::string::npos);
    }
    return 0;
}
