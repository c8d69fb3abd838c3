#include "content_folder.h"
#include "core/ai_aircraft.h"
#include "core/errors.h"
#include "core/text.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/livery.h"
#include "liveries/store.h"

#include <map>
#include <nlohmann/json.hpp>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct ScanFolder : EmptyFolder {
    ScanFolder() {
        write("input/types.csv", "code,category,span_m\nA320,Large,34\nB77L,Heavy,65\nC172,Light,11\n");
        write("input/airlines.csv",
              "code,name\nDLH,Lufthansa\nBAW,British Airways\nFDX,FedEx\nZZZ,generic\nPVT,private\n");
        write("input/registrations.csv", "reg,airline,type,operator,cargo\nD-AIZA,DLH,A320,,\n");
        EXPECT_TRUE(readDataBase());
    }
    void cfg(const fs::path& below, std::string_view bytes) const { write(community() / below, bytes); }
    static const Livery* find(const std::vector<Livery>& all, std::string_view title) {
        for (const Livery& livery : all) {
            if (livery.title == title) {
                return &livery;
            }
        }
        return nullptr;
    }
};

constexpr std::string_view general = "[GENERAL]\nicao_type_designator = \"a320\" ; comment\n";

TEST(LiveryScan, SectionsBecomeLiveries) {
    struct Case {
        const char* name;
        std::string section; ///< behind "[FLTSIM.0]"
        const char *title, *airline, *regcode;
        bool cargo;
    };
    const Case cases[] = {
        {"quotes and comments", "Title = \"Red; // Blue\" ; c\nicao_airline=\"dlh\"//x\n", "Red; // Blue", "DLH", "",
         false},
        {"without quotes", "title=Plain title // c\r\nicao_airline = BAW\r\n", "Plain title", "BAW", "", false},
        {"other keys do not count", "ui_title=No\ntitle=Yes\ntitlex=No\nicao_airline=BAW\n", "Yes", "BAW", "", false},
        {"generic drops the registration", "title=G\nicao_airline=ZZZZ\natc_id=D-AIZA\n", "G", "ZZZ", "", false},
        {"code with a letter behind", "title=Fx\nicao_airline=FDXC\natc_parking_types=CARGO\n", "Fx", "FDX", "", true},
        {"gate and cargo is no freighter", "title=Gc\nicao_airline=FDX\natc_parking_types=gate,cargo\n", "Gc", "FDX",
         "", false},
        {"registration", "title=R\nicao_airline=DLH\natc_id=\"D-AIZA;x\"\n", "R", "DLH", "D-AIZA", false},
        {"two registrations", "title=R2\nicao_airline=DLH\natc_id=D-AIZA,D-AIZB\n", "R2", "DLH", "", false},
        {"airframe tells the airline", "title=A\natc_id=DAIZA\n", "A", "DLH", "DAIZA", false},
    };
    for (const Case& c : cases) {
        ScanFolder folder;
        folder.cfg("pack/aircraft.cfg", std::string(general) + "[FLTSIM.0]\n" + c.section + "[OTHER]\ntitle=no\n");
        scanLiveries();
        const auto all = readLiveriesScanned();
        ASSERT_EQ(all.size(), 1u) << c.name << folder.logText();
        EXPECT_EQ(all[0].title, c.title) << c.name;
        EXPECT_EQ(all[0].airline, c.airline) << c.name;
        EXPECT_EQ(all[0].model, "A320") << c.name;
        EXPECT_EQ(all[0].regcode, c.regcode) << c.name;
        EXPECT_EQ(all[0].cargo, c.cargo) << c.name;
    }
}

TEST(LiveryScan, WhatIsLeftOutIsCounted) {
    ScanFolder folder;
    folder.cfg("a/AIRCRAFT.CFG", std::string(general) +
                                     "[FLTSIM.0]\ntitle=Same\nicao_airline=DLH\n"
                                     "[fltsim.1]\nicao_airline=DLH\n[FLTSIM.2]\ntitle=U\nicao_airline=QQQ\n");
    folder.cfg("B/deep/er/aircraft.cfg", std::string(general) + "[FLTSIM.0]\ntitle=Same\nicao_airline=BAW\n");
    folder.cfg("c/aircraft.cfg", "[GENERAL]\nicao_type_designator=XX99\n[FLTSIM.0]\ntitle=T\nicao_airline=DLH\n");
    folder.cfg("d/aircraft.cfg", "[GENERAL]\nicao_type_designator=A320\n");
    folder.cfg("e/aircraft.cfg", std::string_view("\xFF\xFE\x00\xD8x\x00", 6)); // half of a surrogate pair
    folder.cfg("f/aircraft.cfg.bak", std::string(general) + "[FLTSIM.0]\ntitle=No\nicao_airline=DLH\n");
    folder.cfg("g/aircraft.cfg", "[GENERAL]\nicao_type_designator=C172\n[FLTSIM.0]\ntitle=Private\n");
    scanLiveries();
    const auto all = readLiveriesScanned();
    ASSERT_EQ(all.size(), 2u) << folder.logText();
    EXPECT_EQ(all[0].airline, "DLH") << "folders go in the order of their names in any case, the first title wins";
    EXPECT_EQ(all[1].airline, "PVT");
    for (const char* line :
         {"sections without a title: 1", "sections without a known airline: 1",
          "sections with a title that already exists: 1", "files without a known aircraft type: 1",
          "files without a [fltsim.n] section: 1", "unreadable files or folders: 1",
          "2 liveries in 6 aircraft.cfg files found in", "1 liverie in 1 aircraft.cfg file found in"}) {
        EXPECT_TRUE(folder.logHas(line)) << line << "\n" << folder.logText();
    }
}

TEST(LiveryScan, Utf16AndMarks) {
    const std::string text = std::string(general) + "[FLTSIM.0]\ntitle=\"Zürich\"\nicao_airline=DLH\n";
    std::string little = "\xFF\xFE", big = "\xFE\xFF";
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        if (c == 0xC3) { // the only letter beyond ASCII
            c = static_cast<unsigned char>(text[++i] | 0x40);
        }
        little += {static_cast<char>(c), '\0'};
        big += {'\0', static_cast<char>(c)};
    }
    for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, little, big}) {
        const AircraftCfg cfg = parseAircraftCfg(decodeCfg(bytes));
        EXPECT_EQ(cfg.typeDesignator, "a320");
        ASSERT_EQ(cfg.sections.size(), 1u);
        EXPECT_EQ(cfg.sections[0].title, "Zürich");
    }
}

TEST(LiveryScan, LinkedPackagesAndLoops) {
    ScanFolder folder;
    const fs::path elsewhere = folder.folder / "elsewhere" / "pack";
    EmptyFolder::write(elsewhere / "aircraft.cfg", std::string(general) + "[FLTSIM.0]\ntitle=L\nicao_airline=DLH\n");
    fs::create_directories(folder.community() / "real");
    fs::create_directory_symlink(elsewhere, folder.community() / "linked");
    fs::create_directory_symlink(elsewhere, folder.community() / "again");
    fs::create_directory_symlink(folder.community(), folder.community() / "real" / "loop");
    scanLiveries();
    EXPECT_EQ(liveryCount(), 1u);
    EXPECT_TRUE(folder.logHas("1 liverie in 1 aircraft.cfg file found in")) << folder.logText();
}

TEST(LiveryScan, NothingInstalledIsToldAndTriedAgain) {
    for (const bool exists : {false, true}) {
        ScanFolder folder;
        if (exists) {
            fs::create_directories(folder.community());
        }
        EXPECT_NO_THROW(scanLiveries());
        EXPECT_EQ(liveryCount(), 0u);
        EXPECT_EQ(readouts.liveries, 0);
        EXPECT_NE(statusText().find("No liveries found"), std::string::npos);
        EXPECT_TRUE(folder.logHas("No liveries found"));
        EXPECT_EQ(folder.logHas("does not exist, skipped!"), !exists);
        EXPECT_TRUE(par::SCAN_LIVERIES) << "the next start looks again";
        EXPECT_TRUE(fs::exists(path::liveriesScanned));
        clearStatus();
    }
}

TEST(LiveryScan, StoppedScanLeavesTheOldFile) {
    ScanFolder folder;
    folder.cfg("p/aircraft.cfg", std::string(general) + "[FLTSIM.0]\ntitle=T\nicao_airline=DLH\n");
    EmptyFolder::write(path::liveriesScanned, "old");
    userClosed = true;
    scanLiveries();
    EXPECT_EQ(readFile(path::liveriesScanned), "old");
    EXPECT_TRUE(par::SCAN_LIVERIES);
}

TEST(LiveryScan, OwnFolders) {
    ScanFolder folder;
    par::LIG_AUTOMATIC.value = false;
    EXPECT_THROW(scanLiveries(), nwk::UserErrorException);
    EmptyFolder::write("mine/aircraft.cfg", std::string(general) + "[FLTSIM.0]\ntitle=M\nicao_airline=DLH\n");
    par::lfolder[3].set((folder.folder / "mine").string());
    par::lfolder[5].set((folder.folder / "nowhere").string());
    scanLiveries();
    EXPECT_EQ(liveryCount(), 1u);
    EXPECT_TRUE(folder.logHas("nowhere does not exist, skipped!"));
}

/// Installed packages of many makers, with what is known of their liveries.
TEST(LiveryScan, RealPackages) {
    const fs::path shared = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries";
    std::ifstream truth(shared / "scan-whole-community.tsv");
    if (!truth) {
        GTEST_SKIP() << "no recorded packages beside the source folder";
    }
    std::map<std::string, std::vector<std::string>> known; ///< title to airline, model, cargo
    for (std::string line; std::getline(truth, line);) {
        const auto fields = split(line, '\t');
        if (fields.size() >= 4 && !line.ends_with('?')) {
            known[std::string(fields[3])] = {std::string(fields[0]), std::string(fields[1]), std::string(fields[2])};
        }
    }
    const auto expected = nlohmann::json::parse(readFile(shared / "expected.json"));
    for (const auto& line : expected.at("scans").at("whole-community").at("conversionLines")) {
        known.erase(line.at(0).get<std::string>()); // corrected there from a registration list that we do not have
    }
    const auto registrations = nlohmann::json::parse(readFile(shared / "refdata.json")).at("dbase");
    ContentFolder content;
    ASSERT_TRUE(readDataBase());
    par::LIG_AUTOMATIC.value = false;
    par::lfolder[0].set((shared / "Community").string());
    scanLiveries();
    std::size_t compared = 0;
    for (const Livery& livery : readLiveriesScanned()) {
        const auto wanted = known.find(livery.title);
        if (wanted == known.end()) {
            continue;
        }
        const std::string& airline = wanted->second[0];
        // The recorded result rests on other airlines and registrations than ours.
        if (airline != "PVT" && airlineExists(airline) && !registrations.contains(livery.regcode)) {
            EXPECT_EQ(livery.airline, airline) << livery.title;
        }
        EXPECT_EQ(livery.model, wanted->second[1]) << livery.title;
        EXPECT_EQ(livery.cargo ? "1" : "0", wanted->second[2]) << livery.title;
        ++compared;
    }
    EXPECT_GT(compared, 3500u);
}

TEST(LiveryFile, HostileTitlesSurvive) {
    using namespace std::string_literals;
    EmptyFolder folder;
    const std::string titles[] = {"a<b>&\"c'd"s,  "tab\tand\nline"s, "\x01\x1F"s,    "\xFF\xFE bad \xC3"s,
                                  "Zürich 東京"s, "  blanks  "s,     "]]>&#0;&amp;"s};
    std::vector<Livery> liveries;
    for (const std::string& title : titles) {
        liveries.push_back({"DLH", "A320", title, "D<\">", 1, true});
    }
    ASSERT_TRUE(writeLiveriesScanned(liveries));
    sortLiveries(liveries);
    const auto back = readLiveriesScanned();
    ASSERT_EQ(back.size(), liveries.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
        EXPECT_EQ(back[i].title, liveries[i].title);
        EXPECT_EQ(back[i].regcode, "D<\">");
        EXPECT_TRUE(back[i].cargo);
    }
}

TEST(LiveryFile, WhatCannotBeRead) {
    EmptyFolder folder;
    const auto errorOf = [] {
        try {
            processScannedLiveries();
        } catch (const nwk::UserErrorException& error) {
            return std::string(error.what());
        }
        return std::string("none");
    };
    EXPECT_EQ(errorOf(), "51: File output/LiveriesScanned.xml not found");
    EmptyFolder::write(path::liveriesScanned, "<liveries><liv");
    EXPECT_EQ(errorOf(), "51: File output/LiveriesScanned.xml not found");
    EmptyFolder::write(path::liveriesScanned, "<airports/>");
    EXPECT_EQ(errorOf(), "52: output/LiveriesScanned.xml does not contain a <liveries> section");
    EmptyFolder::write(path::liveriesScanned, "<liveries><liv airl='DLH' type='A320' title='x'/></liveries>");
    EXPECT_EQ(errorOf(), "meta data incorrect?");
    ASSERT_TRUE(writeLiveriesScanned({{"DLH", "A320", "x", "", 0, false}}));
    EXPECT_EQ(errorOf(), "none");
    EXPECT_EQ(liveryCount(), 1u);
    fs::remove(path::liveriesScanned);
    EXPECT_EQ(errorOf(), "none") << "a restart keeps the tables";
    EXPECT_TRUE(folder.logHas("Processing scanned liveries skipped; already done in previous start-up"));
}

TEST(LiveryMatch, FirstTitleThatTheSimulatorTakes) {
    EmptyFolder folder;
    ASSERT_TRUE(writeLiveriesScanned({{"BAW", "A320", "BA one", "G-EUUY", 0, false},
                                      {"BAW", "A320", "BA two", "G-EUUY", 0, false},
                                      {"DLH", "A320", "FSLTL_DLH", "DAIZA", 0, false},
                                      {"ZZZ", "C172", "Cessna", "", 0, false}}));
    par::SCAN_LIVERIES.value = false;
    scanLiveries();
    ASSERT_EQ(liveryCount(), 4u);
    const auto match = [](const char* airline, const char* model) {
        AiAircraft record;
        record.airline = airline;
        record.model = model;
        matchLive(record);
        return std::make_pair(record.title, record.reverseThrust);
    };
    using Match = std::pair<std::string_view, bool>;
    EXPECT_EQ(match("BAW", "A320"), Match("BA one", false));
    EXPECT_EQ(match("DLH", "A320"), Match("FSLTL_DLH", true));
    EXPECT_EQ(match("AFR", "A320"), Match("BA one", false)) << "another airline's, in file order";
    EXPECT_EQ(match("", "C172"), Match("Cessna", false));
    EXPECT_EQ(match("BAW", "B744"), Match("", false));
    EXPECT_EQ(match("BAW", ""), Match("", false));

    EXPECT_EQ(searchRegcode("G-EUUY"), "BA one") << "the first in sorted order keeps it";
    EXPECT_EQ(searchRegcode("GEUUY"), "BA one");
    EXPECT_EQ(searchRegcode("DAIZA"), "FSLTL_DLH");
    EXPECT_EQ(searchRegcode(""), "");

    const std::string_view stored = findTitle("BA one");
    EXPECT_EQ(match("BAW", "A320").first.data(), stored.data()) << "records hold the store's own text";
    refuseTitle("BA one", "A320", "BAW");
    refuseTitle("BA one", "A320", "BAW");
    refuseTitle(std::string("not ours"), "B744", "AFR");
    EXPECT_EQ(refusedTitleCount(), 2u);
    EXPECT_TRUE(isRefused("BA one") && isRefused("not ours") && !isRefused("BA two"));
    EXPECT_EQ(match("BAW", "A320"), Match("BA two", false));
    refuseTitle("Cessna", "C172", "ZZZ");
    EXPECT_EQ(match("ZZZ", "C172"), Match("", false));

    writeMatchingSummary();
    const std::string stars(31, '*');
    EXPECT_TRUE(folder.logHas("\n" + stars + " live traffic livery matching summary " + stars +
                              "\nMatches at step: \n"
                              "  1: 0\n  2: 4\n  3: 0\n  4: 0\n  5: 2\n  6: 0\n\nCould not be created by MSFS:\n"
                              "  A320 BAW\n  B744 AFR\n  C172 ZZZ\n" +
                              std::string(100, '*') + "\n"))
        << folder.logText();
}

} // namespace
} // namespace kes::test
