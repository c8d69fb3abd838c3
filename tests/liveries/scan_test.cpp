// SPDX-License-Identifier: MIT
// Whole scans: which folders, which files, in which order, and what is told.
#include "core/errors.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/window.h"
#include "count_allocations.h"
#include "liveries/folder_walk.h"
#include "liveries/package_finders.h"
#include "liveries/scan.h"
#include "liveries/store.h"
#include "pipe_guard.h"
#include "platform/zip.h"
#include "reference_text.h"
#include "thrown.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct LiveryScan : testing::Test {
    ProgramFolder program;

    void SetUp() override {
        for (const char* folder : {"input/my_regcodes", "output/info", "output/errors"})
            fs::create_directories(folder);
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320", "A20N"}}, {AircraftCategory::heavy, {"B77W"}}};
        text.otherTypes = {"C172"};
        text.airlines = {"ZZZ", "PVT", "DLH", "AFR", "BAW"};
        text.airframes = {{"D-AIPA", "DLH", "A20N", "", true},
                          {"F-OPER", "AFR", "A320", "BAW", false},
                          {"F-EMPT", "", "", "", false}};
        text.read();
        resetLiveries();
        resetRunFlags();
        resetStatus();
        setParameterDefaults();
    }
    void TearDown() override {
        resetLiveries();
        resetReference();
        resetRunFlags();
        setParameterDefaults();
    }

    /// A file of one model; each livery is "airline title [regcode]", an underscore stands for a blank.
    static void put(const fs::path& folder, const std::vector<std::string>& liveries, const std::string& model = "A320",
                    const std::string& name = "aircraft.cfg") {
        fs::create_directories(folder);
        std::string text = "[GENERAL]\nicao_type_designator=" + model + "\n";
        int number = 0;
        for (const std::string& livery : liveries) {
            const auto parts = words(livery);
            text += fmt::format("[fltsim.{}]\ntitle={}\nicao_airline={}\natc_id={}\n", number++, parts.at(1),
                                parts.at(0), parts.size() > 2 ? parts[2] : "");
        }
        std::ofstream(folder / name, std::ios::binary) << text;
    }
    static std::string scanned() {
        std::string all;
        for (const Livery& l : readLiveriesScanned())
            all += fmt::format("{}/{}/{}{}{} ", l.airline, l.model, l.title, l.regcode.empty() ? "" : "/" + l.regcode,
                               l.cargo ? "/cargo" : "");
        return all;
    }
};

TEST_F(LiveryScan, WalksSortedAndLeavesOutWhatHoldsNoAiAircraft) {
    put("packs/b/x", {"DLH first"});
    put("packs/B2", {"DLH Other"}, "A320", "AIRCRAFT.CFG");
    put("packs/a", {"DLH first"});
    for (const char* closed : {"some-airport", "lvfr-x", "mkstudios", "simwings", "fsdreamteam", "navigraph",
                               "flytampa", "inibuilds-x", "a_CVT_b"})
        put(fs::path("packs") / closed / "deep", {fmt::format("DLH {}", closed)});
    put("packs/AIRPORT-upper", {"AFR upper"});
    put("packs/z", {"AFR notthis"}, "A320", "aircraft.cfg.bak");
    put("packs/lvfr-x", {"AFR inside"}); // the folder itself is not entered
    fs::path deep = "packs/" + std::string(120, 'p');
    put(deep / std::string(122, 'q'), {"AFR long249"}); // 249 bytes of folder: still entered
    put(deep / std::string(123, 'q'), {"AFR long250"}); // not any more
    fs::create_directory_symlink(fs::current_path() / "packs/a", "packs/link-to-a");
    fs::create_directories("elsewhere");
    put("elsewhere/pack", {"BAW linked"});
    fs::create_directory_symlink(fs::current_path() / "elsewhere", "packs/link-out");
    fs::create_directory_symlink(fs::current_path() / "packs", "packs/a/loop");
    fs::create_directory_symlink("nowhere", "packs/broken");
    ASSERT_TRUE(scanFolders({"packs"}));
    EXPECT_EQ(scanned(), "AFR/A320/long249 AFR/A320/upper BAW/A320/linked DLH/A320/Other DLH/A320/first ");
    const std::string incomplete = readFile("output/errors/IncompleFltsimSections.txt");
    EXPECT_NE(incomplete.find("packs/b/x [fltsim.0] title \"first\" already exists"), std::string::npos) << incomplete;
    EXPECT_TRUE(program.logHas("5 liveries found in packs")) << program.logText();
}

TEST_F(LiveryScan, CorrectsRecordsFromTheDataBaseAndLeavesOutForbiddenTitles) {
    put("packs", {"AFR one D-AIPA", "DLH two F-OPER", "DLH three F-EMPT", "DLH four D-XXXX", "DLH forbidden"});
    std::ofstream("input/my_regcodes/no.txt") << "forbidden\n";
    ASSERT_TRUE(scanFolders({"packs"}));
    EXPECT_EQ(scanned(), "BAW/A320/two/F-OPER DLH/A20N/one/D-AIPA/cargo DLH/A320/four/D-XXXX DLH/A320/three/F-EMPT ");
    EXPECT_EQ(
        readFile("output/info/AirlineModelConversions.txt"),
        fmt::format("{0:80} D-AIPA cargo false => true\n{0:80} D-AIPA airl AFR => DLH\n{0:80} D-AIPA model A320 => "
                    "A20N\n{1:80} F-OPER airl DLH => BAW\n",
                    "one", "two"));
}

TEST_F(LiveryScan, PrioritizesFolders) {
    put("one", {"DLH one"});
    put("two", {"DLH two", "AFR three"});
    par::LIG_PRIORITIZE.value = true;
    ASSERT_TRUE(scanFolders({"nowhere", "one", "two", "one/aircraft.cfg"}));
    EXPECT_EQ(scanned(), "AFR/A320/three DLH/A320/one ");
    EXPECT_EQ(readFile("output/info/LiveriesNotUsed.txt"), "\"two\": an earlier folder has liveries of DLH A320\n");
    EXPECT_TRUE(program.logHas("nowhere does not exist, skipped!"));
    EXPECT_TRUE(program.logHas("one/aircraft.cfg is not a folder name, skipped!"));
    EXPECT_TRUE(program.logHas("1 liverie found in one\n"));
    EXPECT_TRUE(program.logHas("3 in total\n"));
}

TEST_F(LiveryScan, FindsThePackagesOfEachFamily) {
    for (const char* name : {"fsltl-traffic-base", "aig-aitraffic-oci_CVT_", "aig-aitraffic-oci-beta",
                             "Aig-aitraffic-oci", "aig-aitraffic-oci", "justflight-fstraffic-module-b",
                             "justflight-aircraft-traffic-fleet", "my-user-aitraffic", "something"})
        fs::create_directories(fs::path("Community") / name);
    const auto names = [](std::int32_t order, bool msfs2020) {
        par::AI_PACKAGE_ORDER.value = order;
        par::MSFS_2020.value = msfs2020;
        std::string all;
        for (const fs::path& path : findAiPackages("Community"))
            all += path.filename().string() + " ";
        return all;
    };
    const std::string a = "aig-aitraffic-oci ", f = "fsltl-traffic-base ", j = "justflight-aircraft-traffic-fleet ",
                      u = "my-user-aitraffic ";
    const std::vector<std::string> orders{a + f + j + u, a + j + f + u, f + a + j + u,
                                          f + j + a + u, j + a + f + u, j + f + a + u};
    for (std::size_t i = 0; i < orders.size(); ++i)
        EXPECT_EQ(names(static_cast<std::int32_t>(i + 1), true), orders[i]);
    // Without the plain package the simulators differ: the beta counts by its own name in the one and as a longer name
    // of the plain one in the other.
    fs::remove("Community/aig-aitraffic-oci");
    EXPECT_EQ(names(1, true), "aig-aitraffic-oci-beta " + f + j + u);
    EXPECT_EQ(names(1, false), "aig-aitraffic-oci-beta " + f + j + u);
    EXPECT_TRUE(program.logHas("Automatic AIG scan found folder: \"Community/aig-aitraffic-oci\"\n"));
    EXPECT_TRUE(program.logHas("Automatic user-aitraffic scan found folder: \"Community/my-user-aitraffic\"\n"));
}

TEST_F(LiveryScan, RunsOnceAndTellsInPlainWordsWhatItFound) {
    const fs::path packages = fs::current_path() / "packages";
    put(packages / "Community/fsltl-traffic-base/SimObjects", {"DLH one", "AFR two"});
    put(packages / "Community/user-aitraffic/SimObjects", {"QQQ three"});
    fs::create_directories(packages / "Official");
    par::MSFS_2020.value = true;
    par::MSFS_INSTALL_PATH.set(packages.string());
    par::SCAN_LIVERIES.value = true;
    scanLiveries();
    EXPECT_FALSE(par::SCAN_LIVERIES);
    EXPECT_EQ(liveryCount(), 2u);
    EXPECT_EQ(statusText(), "2 liveries ready: 2 in fsltl-traffic-base, 0 in user-aitraffic");
    EXPECT_TRUE(
        program.logHas("++++++++++++++++++++++++ liveries scan automatic starts ++++++++++++++++++++++++++++++++"));
    EXPECT_TRUE(program.logHas(fmt::format("No livery in \"{}\": 1 aircraft.cfg read, 1 section tells no airline. The "
                                           "reports in the output folder name each of them",
                                           (packages / "Community/user-aitraffic").string())));
    EXPECT_NE(readFile(parametersFile()).find("SCAN_LIVERIES"), std::string::npos);
    // Off: the file of the last scan is all that counts.
    fs::remove_all(packages);
    resetLiveries();
    scanLiveries();
    EXPECT_EQ(liveryCount(), 2u);
}

TEST_F(LiveryScan, RefusesToStartWithNothing) {
    par::SCAN_LIVERIES.value = true;
    par::LIG_AUTOMATIC.value = false;
    EXPECT_EQ(errorOf(scanLiveries), "48");
    fs::create_directories("empty/with-airport");
    par::lfolder[3].set("empty");
    EXPECT_EQ(errorOf(scanLiveries), "53");
    EXPECT_TRUE(program.logHas("No liveries found in empty\n"));
    EXPECT_TRUE(
        program.logHas("No livery in \"empty\": there is no aircraft.cfg in it (1 folder of airports and other scenery "
                       "not looked into)"));
    EXPECT_EQ(readouts.liveries, 0);
    put("empty/stubs", {"DLH b-STUB", "RFO a"});
    put("empty/other", {"QQQ c"});
    EXPECT_EQ(errorOf(scanLiveries), "53");
    EXPECT_EQ(readFile("output/info/LiveriesNotUsed.txt"),
              "empty/stubs/aircraft.cfg [fltsim.0] \"b-STUB\": a stub, left out while SUPPRESS_STUB is on\n"
              "empty/stubs/aircraft.cfg [fltsim.1] \"a\": its airline code RFO is never shown\n");
    EXPECT_EQ(readFile("output/errors/InvalidAirlineCodes.txt"),
              "QQQ          in empty/other/aircraft.cfg [fltsim.0]\n");
    EXPECT_TRUE(program.logHas("2 files, sections and titles left out, see output/info/LiveriesNotUsed.txt\n"));
    EXPECT_FALSE(program.logHas("No errors")) << program.logText();
    par::LIG_AUTOMATIC.value = true;
    EXPECT_EQ(errorOf(scanLiveries), "43") << "no install path";
    EXPECT_FALSE(fs::exists("output/info/LiveriesNotUsed.txt")) << "of the scan before";
    par::MSFS_2020.value = true;
    par::MSFS_INSTALL_PATH.set((fs::current_path() / "packages").string());
    EXPECT_EQ(errorOf(scanLiveries), "43") << "no Community folder";
    fs::create_directories("packages/Community/a-livery");
    EXPECT_EQ(errorOf(scanLiveries), "43");
    EXPECT_TRUE(program.logHas("holds none of the packages that the automatic scan knows"));
    EXPECT_TRUE(par::SCAN_LIVERIES) << "a scan that found nothing is tried again";
}

TEST_F(LiveryScan, AFailureOutsideAJudgementCostsTheFileOrTheFolder) {
    put("packs/a", {"DLH first"});
    put("packs/c-full/in", {"DLH hidden"});
    for (int i = 0; i < 4200; ++i)
        std::ofstream(fmt::format("packs/c-full/{}", i));
    put("packs/d", {"AFR last"});
    // The list of the folder's entries, and then the room for the texts of each file.
    failingAllocation = 8192 * sizeof(platform::FolderList::Entry);
    EXPECT_TRUE(scanFolders({"packs"}));
    failingAllocation = 0;
    EXPECT_EQ(scanned(), "AFR/A320/last DLH/A320/first ");
    EXPECT_EQ(program.logCount("liveries search in packs/c-full aborted, cause: std::bad_alloc\n"), 1u);
    failingAllocation = 4000;
    EXPECT_FALSE(scanFolders({"packs"}));
    failingAllocation = 0;
    for (const char* file : {"a", "c-full/in", "d"}) {
        EXPECT_TRUE(program.logHas(
            fmt::format("exception in lf_searchLiveriesinFile packs/{}/aircraft.cfg: std::bad_alloc\n", file)));
    }
    EXPECT_TRUE(scanFolders({"packs"}));
    EXPECT_EQ(readLiveriesScanned().size(), 3u);
}

TEST_F(LiveryScan, SkipsWhatIsNoFileAndWhatIsTooLong) {
    put("packs/a", {"DLH first"});
    put("packs/long", {"DLH long"});
    fs::resize_file("packs/long/aircraft.cfg", (8 << 20) + 1);
    put("packs/just", {"DLH just"});
    fs::resize_file("packs/just/aircraft.cfg", 8 << 20);
    fs::create_directories("packs/pipe");
    fs::create_directories("packs/folder/aircraft.cfg");
    const PipeGuard pipe("packs/pipe/aircraft.cfg"), texts("input/my_regcodes/x.txt");
    ASSERT_TRUE(scanFolders({"packs"}));
    EXPECT_EQ(scanned(), "DLH/A320/first DLH/A320/just ");
    EXPECT_EQ(readFile("output/errors/InvalidAircraftCfgFiles.txt"),
              "packs/long/aircraft.cfg has more than 8388608 bytes, skipped\n");
    fs::remove(path::liveriesScanned);
    const PipeGuard list(path::liveriesScanned);
    EXPECT_EQ(errorOf(readLiveriesScanned), "51");
}

TEST_F(LiveryScan, StopsWhenTheRunIsClosed) {
    put("packs", {"DLH one"});
    par::SCAN_LIVERIES.value = true;
    par::LIG_AUTOMATIC.value = false;
    par::lfolder[0].set("packs");
    userClosed = true;
    EXPECT_NO_THROW(scanLiveries());
    EXPECT_FALSE(fs::exists(path::liveriesScanned));
    EXPECT_TRUE(par::SCAN_LIVERIES) << "the next start scans again";
}

} // namespace
} // namespace kes::test
