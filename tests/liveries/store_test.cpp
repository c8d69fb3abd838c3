// SPDX-License-Identifier: MIT
// The list file, the tables built from it, and the regcode files.
#include "core/errors.h"
#include "core/xml_file.h"
#include "liveries/dont_use.h"
#include "liveries/regcode_files.h"
#include "liveries/scan_reports.h"
#include "store_folder.h"

#include <random>
#include <tuple>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

std::string joined(const std::vector<std::string>& list) {
    std::string all;
    for (const std::string& each : list)
        all += each + " ";
    return all;
}

TEST_F(StoreFolder, AnyTitleSurvivesTheListFileByteForByte) {
    std::mt19937 random(3);
    std::vector<Livery> liveries{livery("DLH", "A320", " \t\"<&>'\r\n\x01 "), livery("DLH", "A320", "K\xF6ln"),
                                 livery("DLH", "A320", "\xC3\xA9\xF0\x9F\x9B\xA9")};
    for (int i = 0; i < 400; ++i) {
        std::string title = std::to_string(i);
        for (auto k = random() % 20; k > 0; --k)
            title += static_cast<char>(1 + random() % 255);
        liveries.push_back(livery("AFR", "A319", title, i % 2 ? "F-ABCD" : "", i % 3 == 0));
    }
    sortLiveries(liveries);
    ASSERT_TRUE(writeLiveriesScanned(liveries));
    const auto back = readLiveriesScanned();
    ASSERT_EQ(back.size(), liveries.size());
    const auto form = [](const Livery& l) {
        return fmt::format("{} {} {} {} {} {}", l.airline, l.model, l.regcode, l.cargo, l.priority, l.title);
    };
    for (std::size_t i = 0; i < back.size(); ++i)
        EXPECT_EQ(form(back[i]), form(liveries[i])) << testing::PrintToString(liveries[i].title);
    const std::string file = readFile(path::liveriesScanned);
    EXPECT_LT(file.find("<meta"), file.find("<liv "));
    EXPECT_NE(file.find("<liv airl=\"AFR\" type=\"A319\" cargo=\"true\" title=\"0"), std::string::npos)
        << "attributes in order";
}

TEST_F(StoreFolder, RefusesListFilesThatAreNone) {
    EXPECT_EQ(errorOf(readLiveriesScanned), "51");
    const auto put = [](const char* xml) { std::ofstream(path::liveriesScanned, std::ios::binary) << xml; };
    put("<other/>");
    EXPECT_EQ(errorOf(readLiveriesScanned), "52");
    ASSERT_TRUE(writeLiveriesScanned({livery("DLH", "A320", "x"), livery("DLH", "A320", "y")}));
    fs::resize_file(path::liveriesScanned, fs::file_size(path::liveriesScanned) - 20);
    EXPECT_EQ(errorOf(readLiveriesScanned), "52") << "cut in two";
    EXPECT_TRUE(program.logHas("output/LiveriesScanned.xml: ")) << program.logText();
    put("<liveries><liv airl=\"DLH\" type=\"A320\" title=\"x\"/></liveries>");
    EXPECT_EQ(errorOf(readLiveriesScanned), "meta data incorrect?");
    ASSERT_TRUE(writeLiveriesScanned({}));
    EXPECT_EQ(errorOf(processScannedLiveries), "533");
}

TEST_F(StoreFolder, SplitsByKindAndTellsWhatIsThere) {
    install({livery("DLH", "A320", "b"), livery("DLH", "A320", "a"), livery("DLH", "A320", "c", "", true),
             livery("FDX", "B77W", "d", "", true), livery("ZZZ", "C172", "e"), livery("ZZZ", "B738", "f")});
    const LiveryTables& t = liveryTables();
    EXPECT_EQ(t.byAirlineModel[0].at("DLH").at("A320"), (Titles{"a", "b"}));
    EXPECT_EQ(t.byAirlineModel[1].at("DLH").at("A320"), (Titles{"c"}));
    EXPECT_FALSE(t.byAirlineModel[0].contains("FDX")) << "an airline without passenger liveries";
    EXPECT_EQ(std::tuple(hasModel("B77W"), hasModel("A321")), std::tuple(true, false));
    EXPECT_EQ(std::tuple(hasLivery("FDX", "B77W"), hasLivery("DLH", "B77W")), std::tuple(true, false));
    EXPECT_EQ(findTitle("c"), "c");
    EXPECT_EQ(findTitle("x").data(), nullptr);
    EXPECT_EQ(liveryCount(), 6u);
    EXPECT_EQ(readouts.liveries, 6);
    EXPECT_EQ(t.lightModels, std::vector<std::string>{"C172"});
    for (const char* line :
         {"0 registration codes\n", "3 airlines, 3 pax aircraft models and 2 cargo aircraft models\n",
          "2 models have a generic livery\n  B738,C172\n", "Category Light: 1 pax liverie\n  C172\n",
          "Category Large: 3 pax liveries and 1 cargo liverie\n  A320,B738\n",
          "Category Heavy: 0 pax liveries and 1 cargo liverie\n  B77W\n", "Category Buzjets: No livery found\n"})
        EXPECT_TRUE(program.logHas(line)) << line << program.logText();
    processScannedLiveries();
    EXPECT_TRUE(program.logHas("Processing scanned liveries skipped; already done in previous start-up"));
    EXPECT_EQ(t.lightModels.size(), 1u);
}

TEST_F(StoreFolder, SwitchesOffWhatHasNoLivery) {
    install({livery("DLH", "A320", "a"), livery("PVT", "C172", "b")});
    EXPECT_TRUE(par::LIGHT_AIRCRAFT);
    EXPECT_FALSE(par::HELICOPTERS);
    EXPECT_FALSE(par::HIGH_PERF_AIRCRAFT);
    EXPECT_TRUE(program.logHas("HELICOPTERS temporary switched off because you do not have Helicopters installed"));
    EXPECT_TRUE(program.logHas(
        "HIGH_PERF_AIRCRAFT temporary switched off because you do not have High Perf aircraft installed"));
    EXPECT_NE(readFile(parametersFile()).find("HELICOPTERS"), std::string::npos) << "and saved";
}

TEST_F(StoreFolder, TheFirstLiveryKeepsAnInlineRegistration) {
    install({livery("AFR", "A320", "a", "X-ABCD"), livery("AFR", "A319", "b", "X-ABCD"),
             livery("DLH", "A320", "c", "D-AIPA")});
    EXPECT_EQ(searchRegcode("X-ABCD"), "b");
    EXPECT_EQ(readFile("output/errors/InlineRegcodes.txt"), "X-ABCD \"a\" => already in use by \"b\"\n");
    EXPECT_TRUE(program.logHas("1 in-line regcode clashes, see \"output/errors/InlineRegcodes.txt\""));
    EXPECT_TRUE(program.logHas("2 registration codes"));
    EXPECT_EQ(searchRegcode("DAIPA"), "c") << "feeds leave out the dash";
}

TEST_F(StoreFolder, RegcodeFilesWinOverLiveriesAndLaterFilesOverEarlier) {
    putDocument(fmt::format(
        "<AIG-regcodes><livery title=\"a\" reg=\"{},{}\"/><livery title=\"a\" reg=\"{}\" special=\"yes\"/>"
        "<livery title=\"none\" reg=\"{}\"/><livery title=\"forbidden\"/><livery reg=\"x\"/></AIG-regcodes>",
        encryptRegcode("D-AIPA"), encryptRegcode("D-AIPB"), encryptRegcode("D-AIPC"), encryptRegcode("D-AIPX")));
    putRegcodes("B.TXT", "\xEF\xBB\xBF"
                         "b ; D-AIPB , D-AIPE\r\n\r\nb;D-AIPF\r\n");
    putRegcodes("a.txt",
                "c;D-AIPB;D-AIPG;#\nc;D-AIPB\nd; D-AIPH,D-AIPI ; #\ne;D-AIPJ,D-AIPK;x\nnot installed;D-AIPZ\n;D-AIPZ\n"
                "a;xx\na;D-AIPL,1,1234567890123\na;,1\na;D-AIPM,;\nd;D-AIPM,D-AIPN,;#;\nd;;#\n");
    putRegcodes("ignored.csv", "a;D-AIPQ\n");
    install({livery("DLH", "A320", "a"), livery("DLH", "A320", "b", "D-AIPA"), livery("DLH", "A320", "c"),
             livery("DLH", "A320", "d"), livery("DLH", "A320", "e")});
    std::string found;
    for (const char c : std::string("ABCEFGHIJKLMNQXZ"))
        found += fmt::format("{}{} ", c, searchRegcode(std::string("D-AIP") + c));
    EXPECT_EQ(found, "Aa Bb Ca Eb Fb G Hd Id Je Ke La Md Nd Q X Z ");
    for (const char* title : {"a", "b", "c", "d", "e"})
        EXPECT_EQ(isSpecial(title), *title != 'e') << title;
    EXPECT_EQ(readFile("output/info/OfflineRegcodes.txt"),
              "Processing file input/AIG-regcodes.xml\n"
              "   regcode D-AIPA for \"a\", instead of the same for \"b\"\n"
              "2 new regcodes added, 1 regcode replaced, 1 regcode defined as special\n"
              "Processing files in input/my_regcodes\n"
              "   regcode D-AIPB for \"c\", instead of the same for \"a\"\n"
              "   regcode D-AIPM for \"d\", instead of the same for \"a\"\n"
              "   regcode D-AIPB for \"b\", instead of the same for \"c\"\n"
              "9 new regcodes added, 3 regcodes replaced, 5 regcodes defined as special\n"
              "There were errors in processing the regcode files in folder \"input/my_regcodes\", see the Log.txt\n");
    EXPECT_FALSE(fs::exists(path::aigRegcodes)) << "nothing of the server's document stays";
    for (const char* line :
         {"4 liveries read from input/AIG-regcodes.xml\n", "Processing regcodes file \"input/my_regcodes/a.txt\"\n",
          "input/my_regcodes/a.txt: wrong format \"c;D-AIPB;D-AIPG;#\"",
          "wrong regcode length \"xx\" in input/my_regcodes/a.txt", "wrong regcode length \"1234567890123\" in",
          "a ; regs empty? ", "6 special liveries\n"})
        EXPECT_TRUE(program.logHas(line)) << line << "\n" << program.logText();
}

TEST_F(StoreFolder, GoesOnWithoutOrWithBrokenRegcodeDocuments) {
    install({livery("DLH", "A320", "a")});
    EXPECT_TRUE(program.logHas("reading AIG-regcodes failed?"));
    EXPECT_FALSE(fs::exists("output/info/OfflineRegcodes.txt"));
    for (const char* broken : {"<AIG-regcodes><livery title=", ""}) {
        resetLiveries();
        putDocument(broken);
        install({livery("DLH", "A320", "a")});
        EXPECT_NE(
            readFile("output/info/OfflineRegcodes.txt").find("There were errors in processing the AIG-regcode file"),
            std::string::npos);
    }
}

TEST_F(StoreFolder, CollectsTitlesThatMustNotBeUsed) {
    putDocument("<AIG-regcodes><livery title=\"no &amp; never\"/><livery title=\"x\" reg=\"" +
                encryptRegcode("D-AIPA") + "\"/></AIG-regcodes>");
    putRegcodes("mine.txt", "not this\nnor this;\r\nbut;D-ABCD\nand;;\n;\n");
    dontUseTitles = {"of an earlier scan"};
    readDontUseTitles();
    EXPECT_EQ(joined(dontUseTitles), "no & never not this nor this ");
    EXPECT_TRUE(program.logHas("1 don't use title read\n"));
    EXPECT_TRUE(program.logHas("2 don't use titles read from files in input/my_regcodes\n"));
}

TEST_F(StoreFolder, WritesTheReportsOfAScan) {
    scanReports = {};
    writeScanReports();
    EXPECT_TRUE(program.logHas("\nNo errors\n"));
    EXPECT_FALSE(program.logHas("Information"));
    scanReports.invalidAirlines = {"b", "a"};
    scanReports.invalidModels = {"x"};
    scanReports.modelFixLines = {"z", "y"};
    scanReports.emptyCfgFiles = {"f"};
    scanReports.notUsed = {"u"};
    fs::remove_all("output/errors");
    writeScanReports();
    EXPECT_EQ(readFile("output/errors/InvalidAirlineCodes.txt"), "a\nb\n");
    EXPECT_EQ(readFile("output/errors/Fixes.txt"), "z\ny\n") << "in the order of the scan";
    for (const char* line :
         {"\nErrors:\n2 invalid airline codes, see output/errors/InvalidAirlineCodes.txt\n1 invalid model code, see ",
          "2 code fixes, see ", "\nInformation:\n1 empty aircraft.cfg files, see ",
          "1 file, section or title left out, see output/info/LiveriesNotUsed.txt\n"})
        EXPECT_TRUE(program.logHas(line)) << line;
    std::ofstream("output/info/LiveriesSkippedOnPriority.txt") << "old";
    std::ofstream(path::liveriesScanned) << "old";
    removeScanReports();
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator("output"), fs::recursive_directory_iterator()), 2)
        << "two empty folders";
    scanReports = {};
}

} // namespace
} // namespace kes::test
