// SPDX-License-Identifier: MIT
#include "core/geo.h"
#include "core/parameters.h"
#include "files.h"
#include "liveries/regcode_files.h"
#include "pack_folder.h"
#include "reference_text.h"
#include "update/airport_package.h"
#include "update/packages.h"
#include "update/server_version.h"
#include "update/sha256.h"

#include <fmt/ranges.h>
#include <stdexcept>
#include <tuple>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Codes = std::vector<std::string>;

TEST(Pack, TheProgramReadsEveryTableBack) {
    PackFolder folder;
    folder.source("similar_types.csv", "types,remark\nA321  A320,family\n");
    folder.source("publishers.csv", "names,remark\nBig & <Small>;bigsmall,\n\"Say \"\"X\"\"\",\n");
    folder.source("fixes.csv", "wrong,correct,remark\nA32X,A320,\n<&>,C172,\n");
    folder.source("thirdparties20.csv",
                  "pub,icao,stands\nBig & <Small>,EDDM,120\nOther,KJFK,7\nBig & <Small>,LSZH,0\n");
    folder.source("thirdparties24.csv", "pub,icao,stands\nOther,EGLL,210\n");
    const pack::PackCount count = folder.packAndRead(folder.plan());
    EXPECT_EQ(folder.badText(count), "");
    const ReferenceData& data = referenceData();
    EXPECT_EQ(setsText(), "A1,A320,A321,B77W,C172,C25A,EC35,F16|B77W|A320,A321|C25A|F16|EC35|B77W|BAW,DLH,GEC,PVT|GEC|"
                          "EDDM,KJFK");
    EXPECT_EQ(data.similarGroups, (std::vector<Codes>{{"A320", "A321"}}));
    EXPECT_EQ(data.publisherGroups, (std::vector<Codes>{{"Big & <Small>", "bigsmall"}, {"Say \"X\""}}));
    EXPECT_EQ(data.wingspanByType.size(), 7u) << "a type without a span has none";
    EXPECT_NEAR(data.wingspanByType.at("A320") * 2 * metresPerNm, 34.10, 1e-9);
    EXPECT_EQ(categoryOf("C172"), AircraftCategory::light);
    EXPECT_EQ(data.modelFixes.size(), 2u);
    EXPECT_EQ(data.modelFixes.at("A32X") + data.modelFixes.at("<&>"), "A320C172");
    EXPECT_EQ(thirdPartiesText(), "Big & <Small>:EDDM120,LSZH0;Other:KJFK7;|Other:EGLL210;");
    EXPECT_EQ(dbaseSize(), 2u);
    EXPECT_EQ(recordText("D-ALFA"), "DLH/B77W/GEC/cargo");
    EXPECT_EQ(recordText("D-AIZA"), "DLH/A320/");
    EXPECT_EQ(count.types, 8u);
    EXPECT_EQ(count.thirdParties, 3u);
    EXPECT_EQ(count.remarks, Codes{"aig_regcodes.csv is absent: no livery is tied to a registration"});
    EXPECT_FALSE(folder.logHas("skipped") || folder.logHas("nencrypted")) << folder.logText();
}

TEST(Pack, BadRowsAreListedAndTheRestHolds) {
    struct Case {
        const char *file, *text, *bad; ///< what is told of the file
        std::size_t pack::PackCount::*counter;
        std::size_t good;
    };
    using Count = pack::PackCount;
    const Case cases[] = {
        {"types.csv",
         "code,category,span_m\nA320,Large,34.1\nA320,Heavy,1\nTOOLONG,Large,1\nQ,Large,3\na320,Large,3\nQ1,Huge,3\n"
         "Q2,Large,0\nQ3,Large,-3\nQ4,Large,nan\nQ5,Large,3m\nQ6,Large,1e3\nB77W,Heavy,\nC25A,Buzjets,\nF16,HighPerf,\n"
         "EC35,Rotorcraft,\nQ7\n",
         "types.csv:3: A320 stands twice\ntypes.csv:4: \"TOOLONG\" is no type code\ntypes.csv:5: \"Q\" is no type "
         "code\n"
         "types.csv:6: \"a320\" is no type code\ntypes.csv:7: \"Huge\" is no category\n"
         "types.csv:8: \"0\" is no wingspan in metres\ntypes.csv:9: \"-3\" is no wingspan in metres\n"
         "types.csv:10: \"nan\" is no wingspan in metres\ntypes.csv:11: \"3m\" is no wingspan in metres\n"
         "types.csv:12: \"1e3\" is no wingspan in metres\ntypes.csv:17: 1 fields instead of at least 3\n",
         &Count::types, 5},
        {"airlines.csv", "code\nDLH\nDLH\nBA\ndlh\nGEC\n",
         "airlines.csv:3: DLH stands twice\nairlines.csv:4: \"BA\" is no airline code\n"
         "airlines.csv:5: \"dlh\" is no airline code\n",
         &Count::airlines, 2},
        {"similar_types.csv", "types\nA320 A321 A399\nA320 A399\nA321 A320\nA320\nA320 A320 B77W\n",
         "similar_types.csv:2: type A399 is not in types.csv, the group is kept\n"
         "similar_types.csv:3: type A399 is not in types.csv, the group is kept\n"
         "similar_types.csv:3: fewer than two known types\nsimilar_types.csv:4: the group stands twice\n"
         "similar_types.csv:5: fewer than two known types\nsimilar_types.csv:6: A320 stands twice in its group\n",
         &Count::similarGroups, 2},
        {"publishers.csv", "names\nOne;Two\n;\nThree;One\n\"Fo,ur\"\nC++ (x\nFive;;Six;\n",
         "publishers.csv:3: no name\npublishers.csv:4: \"One\" stands twice\n"
         "publishers.csv:5: the name \"Fo,ur\" holds a comma\n"
         "publishers.csv:6: the name \"C++ (x\" is no good expression\n",
         &Count::publishers, 2},
        {"fixes.csv", "wrong,correct\nA32X,A320\nA32X,A321\nA320,A321\nX,A399\n,A320\n",
         "fixes.csv:3: A32X stands twice\nfixes.csv:4: A320 is a type itself, so it is never corrected\n"
         "fixes.csv:5: type A399 is not in types.csv\nfixes.csv:6: no wrong code\n",
         &Count::fixes, 1},
        {"thirdparties24.csv",
         "pub,icao,stands\nOne,EDDM,12\nOne,EDDM,13\n,EDDM,1\nOne,eddm,1\nOne,EDDF,\nOne,EDDF,-1\n",
         "thirdparties24.csv:3: EDDM of One stands twice\nthirdparties24.csv:4: no publisher\n"
         "thirdparties24.csv:5: \"eddm\" is no airport code\nthirdparties24.csv:6: \"\" is no number of stands\n"
         "thirdparties24.csv:7: \"-1\" is no number of stands\n",
         &Count::thirdParties, 1},
        {"registrations.csv",
         "reg,airline,type,operator,cargo\nD-AIZA,DLH,A320,,\nD-AIZA,BAW,A320,,\nD-Q,XXX,A320,,\nD-R,DLH,A399,,\n"
         "D-S,DLH,A320,YYY,\nd-t,DLH,A320,,\nD-U,,,,\nD-V,DLH,A320,,maybe\n,DLH,A320,,\nD-W,DLH,,,no\nN+1,,A320,,TRUE\n"
         "D-123456789012345678901234,DLH,A320,,\n",
         "registrations.csv:3: D-AIZA stands twice\nregistrations.csv:4: airline XXX is not in airlines.csv\n"
         "registrations.csv:5: type A399 is not in types.csv\nregistrations.csv:6: airline YYY is not in airlines.csv\n"
         "registrations.csv:7: \"d-t\" is no registration\nregistrations.csv:8: neither airline nor type\n"
         "registrations.csv:9: cargo is \"maybe\", neither yes nor empty\nregistrations.csv:10: \"\" is no "
         "registration\n"
         "registrations.csv:13: \"D-123456789012345678901234\" is no registration\n",
         &Count::registrations, 3},
        {"aig_regcodes.csv",
         "title,regs,special\nOne,D-AIZA,\nOne,D-AIZB,\n,D-AIZC,\nTwo,d-x,\nThree,,perhaps\nFour,,\n",
         "aig_regcodes.csv:3: \"One\" stands twice\naig_regcodes.csv:4: no title\n"
         "aig_regcodes.csv:5: \"d-x\" is no registration\n"
         "aig_regcodes.csv:6: special is \"perhaps\", neither yes nor empty\n",
         &Count::aigEntries, 2},
    };
    for (const Case& c : cases) {
        PackFolder folder;
        folder.source(c.file, c.text);
        const pack::PackCount count = folder.packAndRead(folder.plan());
        EXPECT_EQ(folder.badText(count), c.bad);
        EXPECT_EQ(count.*c.counter, c.good) << c.file;
        EXPECT_FALSE(folder.logHas("skipped") || folder.logHas("already exists")) << c.file << folder.logText();
    }
}

TEST(Pack, DoubtfulRowsAreToldAndKept) {
    PackFolder folder;
    folder.source("similar_types.csv", "types\nA320 A321 B77W\nA1 A321\nA320 EC35\nF16 C172\n");
    folder.source("airlines.csv", "code,name\nDLH,Lufthansa\nBAW,British \\Airways\nGEC,LUFTHANSA\nPVT,\nZZZ,\n");
    folder.source(
        "registrations.csv",
        "reg,airline,type,operator,cargo,checked\nD-AIZA,DLH,A320,,,\nD-AIZB,DLH,A320,,,\nD-AIZC,BAW,A320,,,\n"
        "D-AIZD,DLH,A320,,,\nD-AIZE,DLH,A320,,,\nN98UP,GEC,B77W,,yes,\nN99UP,GEC,B77W,,yes,\n"
        "N100UP,GEC,B77W,,,\nN101UP,GEC,B77W,,yes,\nN102UP,GEC,B77W,,yes,\nG-XYV,BAW,A320,,,\n"
        "G-XYW,BAW,A320,,,\nG-XYX,DLH,A320,,,yes\nG-XYY,BAW,A320,,,\nG-XYZ,BAW,A320,,,\n");
    const pack::PackCount count = folder.packAndRead(folder.plan());
    EXPECT_EQ(folder.text(count.doubtful),
              "similar_types.csv:3: A321 may get the group \"A1 A321\" instead of its family \"A320 A321 B77W\"\n"
              "registrations.csv:4: D-AIZC is BAW A320, but its neighbours are DLH A320\n"
              "registrations.csv:9: N100UP is GEC B77W, but its neighbours are GEC B77W cargo\n"
              "airlines.csv:3: BAW has an odd name, \"British \\Airways\"\n"
              "airlines.csv:4: DLH and GEC have one name, \"LUFTHANSA\"\n");
    EXPECT_EQ(folder.badText(count), "");
    EXPECT_EQ(count.registrations, 15u);
    EXPECT_EQ(count.similarGroups, 4u);
}

TEST(Pack, WhatTheProgramWouldRefuseIsNeverWritten) {
    struct Case {
        const char *file, *text, *message; ///< a null text removes the file
    };
    const Case cases[] = {
        {"types.csv", nullptr, "types.csv not found"},
        {"types.csv", "code,span_m\nA320,34\n", "has no column \"category\""},
        {"types.csv", "code,category,span_m\nA320,Large,34\nB77W,Heavy,\nC25A,Buzjets,\nF16,HighPerf,\n",
         "types.csv has no type of category Rotorcraft, but the program refuses a data base whose section "
         "\"rotorcraft\" is "
         "empty"},
        {"cargo_types.csv", "code\nQQQQ\n", "cargo_types.csv has no good row"},
        {"cargo_operators.csv", "code\n", "cargo_operators.csv has no good row"},
        {"simaddons20.csv", "icao\nnone\n", "simaddons20.csv has no good row"},
        {"my_simaddon/EDDM.txt", "archive/x.xml\n", "tells no version of the package"},
    };
    for (const Case& c : cases) {
        PackFolder folder;
        if (c.text)
            folder.source(c.file, c.text);
        else
            fs::remove(fs::path("data") / c.file);
        const std::string told = thrownBy([&] { pack::packUpdates(folder.plan()); });
        EXPECT_NE(told.find(c.message), std::string::npos) << c.message << ": " << told;
        EXPECT_FALSE(fs::exists("updates")) << c.message;
    }
}

std::map<std::string, std::string> contents(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            files[entry.path().lexically_relative(folder).generic_string()] = readFile(entry.path());
    return files;
}

TEST(Pack, TheSameSourcesGiveTheSameBytes) {
    PackFolder folder;
    folder.source("aig_regcodes.csv", "title,regs,special\nOne,D-AIZA,\n");
    folder.source("my_simaddon/version.csv", "version\n1.2.3\n");
    folder.source("my_simaddon/KJFK.txt", "archive/b.xml\n");
    folder.source("my_simaddon/EDDM.TXT", "archive/a.xml\n");
    folder.source("my_simaddon/notes.md", "no airport file");
    pack::PackPlan plan = folder.plan();
    pack::packUpdates(plan);
    const auto first = contents("updates");
    Codes names;
    for (const auto& [name, content] : first)
        names.push_back(name);
    EXPECT_EQ(names, (Codes{"AIG-regcodes.zip", "dbase.zip", "mysimaddon24/my_simaddon2024.zip",
                            "mysimaddon24/version.json", "release/version.json"}));
    const auto written = fs::last_write_time("updates/dbase.zip");
    pack::packUpdates(plan);
    EXPECT_EQ(fs::last_write_time("updates/dbase.zip"), written) << "a file that is right is not touched";
    plan.out = "other";
    fs::create_directories("other");
    std::ofstream("other/dbase.zip") << "of an earlier run";
    pack::packUpdates(plan);
    EXPECT_EQ(contents("other"), first);
}

TEST(Pack, TheProgramTakesVersionsAndPackage) {
    PackFolder folder;
    setParameterDefaults();
    fs::create_directories("airports");
    folder.source("my_simaddon/EDDM.txt", "archive/eddm.xml\r\n");
    pack::PackPlan plan = folder.plan();
    for (const char* version : {"1.x", "0.0.0", "99999999999.1.1"}) {
        plan.simaddonVersion = version;
        EXPECT_THROW(pack::packUpdates(plan), std::runtime_error) << version;
    }
    plan.simaddonVersion = "2.0.1";
    plan.programVersion = "11.2.3";
    EXPECT_EQ(pack::packUpdates(plan).simaddonFiles, 1u);
    EXPECT_EQ(readFile("updates/release/version.json"), "{\"major\":11,\"minor\":2,\"patch\":3}\n");
    // An installer that lies there is told by its hash as well, so that the program takes no other.
    std::ofstream("updates/release/setup_Kestrelune_d_v11.2.3.zip") << "installer";
    pack::packUpdates(plan);
    for (const auto& [name, zip, version] : {std::tuple{"release", "setup_Kestrelune_d_v11.2.3.zip", Version{11, 2, 3}},
                                             std::tuple{"mysimaddon24", "my_simaddon2024.zip", Version{2, 0, 1}}}) {
        const fs::path folder24 = fs::path("updates") / name;
        const ServerVersion told = parseServerVersion(readFile(folder24 / "version.json"));
        EXPECT_EQ(told.version, version);
        EXPECT_EQ(told.sha256, sha256Of(readFile(folder24 / zip))) << name;
    }
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(readFile("airports/my_simaddon/EDDM.txt"), "archive/eddm.xml\r\n");
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "2.0.1") << folder.logText();
    setParameterDefaults();
}

TEST(Pack, RegcodeDocumentReadsBack) {
    PackFolder folder;
    folder.source("aig_regcodes.csv",
                  "title,regs,special\n\"Blue, \"\"<Sky>\"\" & Co\",D-AIZA  D-AIZB,\nOnly one,N1,yes\n"
                  "\xFF\x01 odd,D+1,0\nForbidden,,\n");
    const pack::PackCount count = pack::packUpdates(folder.plan());
    EXPECT_EQ(count.aigEntries, 4u) << folder.badText(count);
    ASSERT_TRUE(fetchZipAsText("AIG-regcodes.zip", "regcodes.xml"));
    std::vector<RegcodeEntry> entries;
    ASSERT_TRUE(readRegcodeDocument("regcodes.xml", entries)) << folder.logText();
    std::string text;
    for (const RegcodeEntry& e : entries)
        text += fmt::format("{}: {}{};", e.title, fmt::join(e.regs, " "), e.special ? " special" : "");
    EXPECT_EQ(text, "Blue, \"<Sky>\" & Co: D-AIZA D-AIZB;Only one: N1 special;\xFF\x01 odd: D+1;Forbidden: ;");
}

/// What the project ships.
TEST(Pack, OwnSourcesHaveNoBadRow) {
    PackFolder folder;
    pack::PackPlan plan = folder.plan();
    plan.data = fs::path(KES_SOURCE_DIR) / "data";
    const pack::PackCount count = folder.packAndRead(plan);
    EXPECT_EQ(folder.badText(count), "");
    for (const pack::BadRow& row : count.doubtful)
        ADD_FAILURE() << row.file << ":" << row.line << ": " << row.reason;
    EXPECT_GT(count.fixes, 0u);
    EXPECT_GT(count.similarGroups, 0u);
    EXPECT_GT(count.publishers, 0u);
    EXPECT_EQ(referenceData().aircraftTypes.size(), count.types);
    EXPECT_EQ(referenceData().icaoAirlines.size(), count.airlines);
    EXPECT_EQ(dbaseSize(), count.registrations);
    EXPECT_EQ(referenceData().similarGroups.size(), count.similarGroups);
    EXPECT_EQ(referenceData().publisherGroups.size(), count.publishers);
    EXPECT_GE(count.types, 400u);
    EXPECT_GE(count.airlines, 1000u);
    EXPECT_EQ(std::tuple(airlineExists("ZZZ"), airlineExists("PVT")), std::tuple(true, true));
    // Where simulators have their packages nobody's name may stand, or all that lies there is his.
    for (const char* place : {"Local\\Packages\\Microsoft.FlightSimulator_8wekyb3d8bbwe\\LocalCache",
                              "Local\\Packages\\Microsoft.Limitless_8wekyb3d8bbwe\\LocalCache",
                              "Roaming\\Microsoft Flight Simulator 2024", "Roaming\\Microsoft Flight Simulator"}) {
        for (const char* end : {"Community\\", "Official\\OneStore\\", "Official\\Steam\\"}) {
            const std::string path = std::string("C:\\Users\\me\\AppData\\") + place + "\\Packages\\" + end;
            EXPECT_EQ(publisherOf(path + "x\\scenery\\x.bgl"), "unknown") << path;
            EXPECT_EQ(publisherOf(path + "tropicalsim-kmci\\x.bgl"), "TropicalSim") << path;
        }
    }
    for (const char* bad : {"skipped", "already exists", "not a valid model", "nencrypted"})
        EXPECT_FALSE(folder.logHas(bad)) << folder.logText();
}

} // namespace
} // namespace kes::test
