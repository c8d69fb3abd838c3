// SPDX-License-Identifier: MIT
// What start-up does before a run needs simulator and traffic source: install path, reference data.
#include "core/run_state.h"
#include "flight_folder.h"
#include "spine/closing.h"
#include "spine/waits.h"
#include "spine/worker.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct StartUpTest : testing::Test {
    FlightFolder program;
    TestWindow window;
    std::string homeBefore = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");

    void SetUp() override {
        setenv("HOME", program.folder.c_str(), 1); // nothing is installed there
        setParameterDefaults();
        setRunSleepScale(0.02);
        restarting = false;
        resetRun();
        window.forget();
        fs::remove_all("updates");
    }
    void TearDown() override {
        setenv("HOME", homeBefore.c_str(), 1);
        dataBaseRead = false;
        restarting = false;
        resetRun();
        setRunSleepScale(1);
        setParameterDefaults();
    }
    static void closeRun(std::thread& worker) {
        userClosed = exitRequested = true;
        worker.join();
    }
};

TEST_F(StartUpTest, TheInstallPathNamesThePackagesFolder) {
    dataBaseRead = true;
    struct Case {
        const char *stored, *kept;
    };
    for (const Case& c : {Case{"C:\\Sim\\Packages\\Community", "C:\\Sim\\Packages"},
                          {"/sim/packages/Community", "/sim/packages"},
                          {"/sim/packages/Community//", "/sim/packages"},
                          {"/sim/packages/", "/sim/packages/"},
                          {"/sim/MyCommunity", "/sim/MyCommunity"},
                          {"/sim/Community/packages", "/sim/Community/packages"}}) {
        program.writeParameters("<parameter name=\"MSFS_2024_INSTALL_PATH\" value=\"untouched/Community\"/>", c.stored);
        startUp();
        EXPECT_EQ(par::MSFS_INSTALL_PATH.get(), c.kept);
        EXPECT_EQ(window.box(par::ALL_INSTALL_PATH), c.kept);
        EXPECT_EQ(program.stored("MSFS_INSTALL_PATH"), c.kept) << c.stored;
        EXPECT_EQ(par::MSFS_2024_INSTALL_PATH.get(), "untouched/Community") << "only the selected simulator's";
    }
}

TEST_F(StartUpTest, AnEmptyInstallPathIsFoundStoredAndShown) {
    dataBaseRead = true;
    program.writeParameters("", "");
    EXPECT_THROW(startUp(), nwk::UserErrorException);
    EXPECT_EQ(window.box(par::ALL_INSTALL_PATH), "");
    const fs::path appData = program.folder / ".local/share/Steam/steamapps/compatdata/1250410/pfx/drive_c/users/"
                                              "steamuser/AppData";
    const fs::path packages = appData / "Roaming/Microsoft Flight Simulator/Packages";
    for (const char* folder : {"Community", "Official"})
        fs::create_directories(packages / folder);
    startUp();
    const std::string found = fs::canonical(packages).string();
    EXPECT_EQ(par::MSFS_INSTALL_PATH.get(), found);
    EXPECT_EQ(window.box(par::ALL_INSTALL_PATH), found);
    EXPECT_EQ(program.stored("MSFS_INSTALL_PATH"), found);
}

TEST_F(StartUpTest, ADamagedListOfLiveriesIsToldAndTheNextStartScansAnew) {
    const std::string list = readFile(path::liveriesScanned);
    const std::string noSection = "52: output/LiveriesScanned.xml does not contain a <liveries> section";
    fs::create_directories("packs");
    std::ofstream("packs/aircraft.cfg") << "icao_type_designator=A320\n[fltsim.0]\ntitle=Found\nicao_airline=DLH\n";
    writeSmallReference({.types = "A320,Large,34.1\n", .airlines = "DLH,Lufthansa\n"});
    dataBaseRead = false;
    resetLiveries();
    for (const auto& [content, told] :
         {std::pair{list.substr(0, list.size() / 2), noSection},
          {"", noSection},
          {"\x1F\x8B garbage", noSection},
          {"<liveries><liv airl=\"DLH\" type=\"A320\" title=\"x\"/></liveries>", "meta data incorrect?"},
          {list.substr(0, list.find("<liv ")) + "</liveries>",
           "533: output/LiveriesScanned.xml does not contain liveries"}}) {
        program.writeParameters("<parameter name=\"LIG_AUTOMATIC\" value=\"false\"/>"
                                "<parameter name=\"lfolder0\" value=\"packs\"/>");
        std::ofstream(path::liveriesScanned, std::ios::binary) << content;
        for (const bool next : {false, true}) {
            setParameterDefaults();
            const std::string ready = "1 liverie ready: 1 in packs\n";
            const std::size_t before = program.logCount(ready);
            std::thread worker(workerMain);
            EXPECT_TRUE(waitFor([&] { return next ? program.logCount(ready) > before : !errorText().empty(); }))
                << content;
            EXPECT_EQ(errorText(), next ? "" : told);
            EXPECT_EQ(window.shown().lines.back().advice,
                      next ? "" : "The list of liveries is damaged, the next start scans anew.");
            closeRun(worker);
            clearError();
            resetRun();
        }
        EXPECT_FALSE(par::SCAN_LIVERIES);
        resetLiveries();
    }
}

} // namespace
} // namespace kes::test
