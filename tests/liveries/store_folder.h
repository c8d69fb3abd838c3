// SPDX-License-Identifier: MIT
// A program folder with reference data of a few types and airlines, and liveries that a test names.
#pragma once

#include "core/parameters.h"
#include "core/random.h"
#include "core/window.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "platform/zip.h"
#include "reference_text.h"
#include "support.h"
#include "thrown.h"

namespace kes::test {

struct StoreFolder : testing::Test {
    ProgramFolder program;
    ReferenceText text;

    StoreFolder() {
        for (const char* folder : {"input/my_regcodes", "output/info", "output/errors", "updates"})
            std::filesystem::create_directories(folder);
        text.types = {{AircraftCategory::large, {"A319", "A320", "A321", "B738"}},
                      {AircraftCategory::heavy, {"B77W", "A332"}},
                      {AircraftCategory::buzjets, {"C25A", "C680"}},
                      {AircraftCategory::rotorcraft, {"EC35"}},
                      {AircraftCategory::highPerf, {"F16"}}};
        text.otherTypes = {"C172", "P28A", "DA40"};
        text.airlines = {"ZZZ", "PVT", "DLH", "AFR", "BAW", "FDX"};
        text.similar = {{"A319", "A320", "A321"}, {"B77W", "A332", "B738"}, {"C172", "P28A"}};
        setParameterDefaults();
        setRandomSeed(1);
        resetLiveries();
    }
    ~StoreFolder() override {
        resetLiveries();
        resetReference();
        setParameterDefaults();
    }
    /// Reads the reference data, stores the liveries as a scan would, and builds the tables.
    void install(std::vector<Livery> liveries) {
        text.read();
        sortLiveries(liveries);
        ASSERT_TRUE(writeLiveriesScanned(liveries));
        processScannedLiveries();
    }
    static void putRegcodes(const std::string& name, const std::string& content) {
        std::ofstream("input/my_regcodes/" + name, std::ios::binary) << content;
    }
    static void putDocument(const std::string& xml) {
        platform::ZipArchive zip("updates/AIG-regcodes.zip");
        ASSERT_TRUE(zip.open(platform::ZipArchive::OpenMode::create));
        ASSERT_TRUE(zip.addData("AIG-regcodes.xml", xml));
        ASSERT_TRUE(zip.close());
    }
};

inline Livery livery(std::string airline, std::string model, std::string title, std::string regcode = "",
                     bool cargo = false) {
    return {std::move(airline), std::move(model), std::move(title), std::move(regcode), 0, cargo};
}

} // namespace kes::test
