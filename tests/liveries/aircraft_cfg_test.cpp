// SPDX-License-Identifier: MIT
// What one file gives: character sets, section numbers, models, sections, and every line that tells why there is
// nothing.
#include "core/parameters.h"
#include "core/run_state.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/regcode_files.h"
#include "platform/system.h"
#include "reference_text.h"
#include "support.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct AircraftCfg : testing::Test {
    ProgramFolder program;
    TextSet dontUse{"Forbidden"};
    CfgRules rules;

    void SetUp() override {
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320", "B738"}}, {AircraftCategory::heavy, {"B77W"}}};
        text.otherTypes = {"C172", "A20N", "DA40"};
        text.airlines = {"ZZZ", "DLH", "AFR", "BAW"};
        text.fixes = {{"737", "B738"}};
        text.airframes = {
            {"D-AIPA", "DLH", "A320", "", false}, {"N1A", "PVT", "C172", "", false}, {"G-NONE", "", "A320", "", false}};
        text.read();
        rules.dontUse = &dontUse;
        rules.folderNumber = 3;
        rules.countLines = true;
    }
    void TearDown() override {
        resetReference();
        resetRunFlags();
    }

    CfgJudgement judge(const std::string& bytes, const fs::path& path = "pack/aircraft.cfg") {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
        return judgeFile(rules, path.string());
    }
    /// A file of one A320 with these lines in its section.
    CfgJudgement section(const std::string& lines, const std::string& type = "A320") {
        return judge("[GENERAL]\nicao_type_designator=" + type + "\n[fltsim.0]\n" + lines);
    }
    static std::string only(const CfgJudgement& got, ReportList list) {
        std::string all;
        for (const auto& [which, line] : got.reports)
            all += which == list ? std::string(line) + "|" : "";
        return all;
    }
};

TEST_F(AircraftCfg, ReadsTheKeysOfASection) {
    // airline, title, regcode and cargo, or the report line
    struct Row {
        std::string lines, wanted;
    };
    const std::string left = "pack/aircraft.cfg [fltsim.0]", own = " for its owner's own flights, not for AI traffic|";
    const std::vector<Row> table{
        {"title=A\nicao_airline=DLH", "DLH/A//0"},
        {"TITLE = \"A B\" ; name\nicao_airline=\"dlh\"\nui_title=x", "DLH/A B//0"},
        {"title=\" A \"\nicao_airline=AFRX\natc_parking_types=gate,CARGO", "AFR/A//0"},
        {"title=A\nicao_airline=BAWC\natc_parking_types=ramp,cargo", "BAW/A//1"},
        {"title=A\nicao_airline=\natc_id=D-AIPA", "DLH/A/D-AIPA/0"},
        {"title=A\nicao_airline=\"\"\natc_id=D-AIPA", "ZZZ/A//0"},
        {"title=A\nicao_airline=ZZZZ\natc_id=D-AIPA", "ZZZ/A//0"},
        {"title=A\nicao_airline=DLH\natc_id=D-AIPA;x", "DLH/A/D-AIPA/0"},
        {"title=A\nicao_airline=DLH\natc_id=D-AIPA,;x", "DLH/A/D-AIPA/0"},
        {"title=A\nicao_airline=DLH\natc_id=D-AIPA,", "DLH/A/D-AIPA/0"},
        {"title=A\nicao_airline=DLH\natc_id=D-AIPA,D-AIPB", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\natc_id=D-AI", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\natc_id=1234567890123", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\natc_id=N*****", "DLH/A//0"},
        {"title=A\nicao_airline=QQQ\nicao_airline=DLH", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\n\n// icao_airline\n//", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\r\n//icao_airline\r\n\r\n// title=B\r\n//\r\n[END]", "DLH/A//0"},
        {"title=A\nicao_airline=DLH\n// icao_airline\n \n//title=B",
         "pack [fltsim.0] has more than one icao_airline key|"},
        {"title=A\nicao_airline=DLH\n// icao_airline\nmodel=", "pack [fltsim.0] has more than one icao_airline key|"},
        {"title=A\ntitle=B", "pack [fltsim.0] has more than one title key|"},
        {"title=\ntitle=B\nicao_airline=DLH", "DLH/B//0"},
        {"title=A\natc_parking_types=GATE\n;atc_parking_types",
         "pack [fltsim.0] has more than one atc_parking_types key|"},
        {"title=A\natc_id=D-AIPA\nx_atc_id=1", "pack, [fltsim.0], has more than one atc_id key|"},
        {"title=A\natc_id=D-AIPA\natc_id_color=1\nicao_airline=DLH", "DLH/A/D-AIPA/0"},
        {"title=A\natc_id=D-AIPA\natc_id = D-AIPB\nicao_airline=DLH", "DLH/A/D-AIPA/0"},
        {"texture=x", "pack [fltsim.0] misses title|"},
        {"title=A\natc_id=D-AIXX",
         "\"pack\" \"[fltsim.0]\" has no airline and its regcode is not in my dbase (very old liv?)|"},
        {"title=A\natc_id=G-NONE",
         "\"pack\" \"[fltsim.0]\" has no airline and its regcode is not in my dbase (very old liv?)|"},
        {"title=A", "\"pack\" \"[fltsim.0]\" has no airline and no regcode info|"},
        {"title=FenixA320 x\nicao_airline=DLH", left + " \"FenixA320 x\": an add-on" + own},
        {"title=x PMDG 737 y\nicao_airline=DLH", left + " \"x PMDG 737 y\": an add-on" + own},
        {"title=A-STUB\nicao_airline=DLH", left + " \"A-STUB\": a stub, left out while SUPPRESS_STUB is on|"},
        {"title=Forbidden\nicao_airline=DLH", left + " \"Forbidden\": a regcode file forbids this title|"},
        {"icao_airline=RFO\ntitle=A", left + ": its airline code RFO is never shown|"},
    };
    for (const Row& row : table) {
        const CfgJudgement got = section(row.lines);
        std::string text = only(got, &ScanReports::incompleteSections) + only(got, &ScanReports::notUsed);
        for (const FoundLivery& l : got.liveries) {
            text += fmt::format("{}/{}/{}/{:d}", l.airline, l.title, l.regcode, l.cargo);
            EXPECT_EQ(l.priority, 3);
            EXPECT_EQ(l.model, "A320");
        }
        EXPECT_EQ(text, row.wanted) << row.lines;
        EXPECT_EQ(got.liveries.size() + got.dropped.size(), 1u) << row.lines;
    }
    rules.suppressStub = false;
    EXPECT_EQ(section("title=A-STUB\nicao_airline=DLH").liveries.size(), 1u);
    EXPECT_EQ(only(section("title=A\nicao_airline=QQQ"), &ScanReports::invalidAirlines),
              "QQQ          in pack/aircraft.cfg [fltsim.0]|");
}

TEST_F(AircraftCfg, TellsInTheLogWhatIsWrongWithARegistration) {
    const std::vector<std::pair<std::string, std::string>> table{
        {";noneyet", "invalid atc_id= ==> in: pack/aircraft.cfg"},
        {",D-AIPA", "empty regcode in pack [fltsim.0]"},
        {"D-AIPA, ,X", "regcode is a space char? pack [fltsim.0]"},
        {"ABCDEFGHIJKLM",
         "regcode: ABCDEFGHIJKLM, has more than 12 chars or contains UTF16 chars in \"pack/aircraft.cfg\"?"},
        {"N*****", "pack [fltsim.0] wild cards no longer supported, atc_id skipped "}};
    for (const auto& [value, wanted] : table) {
        const CfgJudgement got = section("title=A\nicao_airline=DLH\natc_id=" + value);
        ASSERT_EQ(got.log.size(), 1u) << value;
        EXPECT_EQ(got.log[0], wanted);
    }
}

TEST_F(AircraftCfg, GivesSmallAircraftWithoutAirlineToPrivateOwners) {
    EXPECT_EQ(section("title=Cessna", "C172").liveries.at(0).airline, "PVT");
    EXPECT_EQ(section("title=Cessna N1A", "C172").liveries.at(0).regcode, "N1A");
    EXPECT_EQ(section("title=Cessna N1A\natc_id=N1AXX", "C172").liveries.at(0).regcode, "N1AXX");
}

TEST_F(AircraftCfg, ChecksTheSectionNumbers) {
    const std::string named = "pack/aircraft.cfg contains ";
    const std::vector<std::pair<std::string, std::string>> table{
        {"", "pack/aircraft.cfg|"},
        {"// [fltsim.0]\n", "pack/aircraft.cfg|"},
        {"[fltsim.0]\n[fltsim.2]\n", named + "non-consecutive [fltsim.x] numbers at .x=2|"},
        {"[fltsim.1]\n", named + "non-consecutive [fltsim.x] numbers at .x=1|"},
        {"[fltsim.0]\n[fltsim.0]\n", named + "non-consecutive [fltsim.x] numbers at .x=0|"},
        {"[fltsim.0]\n;[fltsim.1]\n", named + "a [fltsim.] section without a number|"},
        {"[fltsim.0]\n[FLTSIM.X]\n", named + "a [fltsim.] section without a number|"},
        {"[fltsim.1]\n[FLTSIM.X]\n", named + "non-consecutive [fltsim.x] numbers at .x=1|"},
        {"[fltsim.0] ; one\n", named + "a [fltsim.] section without a number|"},
        {"[FltSim.x]\n", "pack/aircraft.cfg|"}};
    for (const auto& [text, wanted] : table) {
        const CfgJudgement got = judge("icao_type_designator=A320\n" + text);
        EXPECT_EQ(only(got, &ScanReports::emptyCfgFiles) + only(got, &ScanReports::invalidCfgFiles), wanted) << text;
        EXPECT_TRUE(got.liveries.empty());
    }
    const CfgJudgement tooBig = judge("[fltsim.3000000000]");
    EXPECT_EQ(tooBig.log.at(0), "fltsim num 3000000000 incorrect");
    EXPECT_EQ(only(tooBig, &ScanReports::notUsed),
              "pack/aircraft.cfg: section numbers that do not run 0, 1, 2 and so on|");
    const auto good = judge("icao_type_designator=A320\n[fltsim.1]\ntitle=b\nicao_airline=DLH\n [FltSim.00] \ntitle=a\n"
                            "icao_airline=AFR\n[END]\ntitle=no\n");
    ASSERT_EQ(good.liveries.size(), 2u);
    EXPECT_EQ(good.liveries[1].title, "a");
    EXPECT_EQ(good.liveries[1].header, " [FltSim.00] ");
}

TEST_F(AircraftCfg, EndsASectionAtABracketNearTheBegin) {
    const auto got = section("title=A\nname=a [b]\n    [x]\nicao_airline=DLH\n");
    EXPECT_EQ(only(got, &ScanReports::incompleteSections),
              "\"pack\" \"[fltsim.0]\" has no airline and no regcode info|");
    EXPECT_EQ(section("title=A\n      [x]\nicao_airline=DLH\n").liveries.size(), 1u) << "the seventh character";
}

TEST_F(AircraftCfg, FindsTheModel) {
    const std::string tail = "\n[fltsim.0]\ntitle=A\nicao_airline=DLH\n";
    const std::string missing = "Line icao_type_designator= is missing in [General] section of pack/aircraft.cfg|";
    const std::vector<std::array<std::string, 3>> table{
        {"icao_type_designator=a320", "A320", ""},
        {"icao_type_designator=\"A320neo\"", "A320", ""},
        {"icao_type_designator=\"\"\nICAO_TYPE_DESIGNATOR = B77W", "B77W", ""},
        {"icao_type_designator=737", "B738", "Model fix: 737 found in pack/aircraft.cfg changed into B738|"},
        {"icao_type_designator=XXX\nbase_container=\"..\\Asobo_DA40_NG\"", "",
         "XXX              in pack/aircraft.cfg|"},
        {"base_container=\"..\\Asobo_Icon\"\nbase_container=\"..\\Asobo_A320_NEO\"", "A20N",
         "A5               in pack/aircraft.cfg|"},
        {"base_container=\"..\\Nobody\"\nbase_container=\"..\\Asobo_A320_NEO\"", "A20N", ""},
        {"base_container=\"..\\Asobo_Icon\"", "", "A5               in pack/aircraft.cfg|" + missing},
        {"base_container=..", "", missing}};
    for (const auto& [head, model, report] : table) {
        const CfgJudgement got = judge(head + tail);
        EXPECT_EQ(got.model, model) << head;
        EXPECT_EQ(only(got, &ScanReports::modelFixLines) + only(got, &ScanReports::invalidModels) +
                      only(got, &ScanReports::invalidCfgFiles),
                  report)
            << head;
        EXPECT_EQ(got.liveries.size(), model.empty() ? 0u : 1u);
    }
    const CfgJudgement payware = judge("x=1" + tail, "pmdg-aircraft-77w/aircraft.cfg");
    EXPECT_EQ(payware.reports.size(), 1u) << "no error";
    EXPECT_EQ(only(payware, &ScanReports::notUsed),
              "pmdg-aircraft-77w/aircraft.cfg: an add-on for its owner's own flights, not for AI traffic|");
}

TEST_F(AircraftCfg, ReadsEveryCharacterSet) {
    const std::string text = "icao_type_designator=A320\r\n[fltsim.0]\r\ntitle=M\xC3\xBCnchen \xF0\x9F\x9B\xA9\r\n"
                             "icao_airline=DLH";
    const auto wide = [&](bool big, bool odd) {
        std::string out = big ? "\xFE\xFF" : "\xFF\xFE";
        for (const char16_t c : platform::toUtf16(text)) {
            const char high = static_cast<char>(c >> 8), low = static_cast<char>(c & 0xFF);
            out += big ? high : low;
            out += big ? low : high;
        }
        return odd ? out + "x" : out;
    };
    const std::vector<std::pair<std::string, std::string>> table{{text, "plain"},
                                                                 {"\xEF\xBB\xBF" + text, "utf-8-bom"},
                                                                 {wide(false, false), "utf-16-le"},
                                                                 {wide(true, false), "utf-16-be"}};
    for (const auto& [bytes, charset] : table) {
        const CfgJudgement got = judge(bytes);
        EXPECT_EQ(got.charset, charset);
        ASSERT_EQ(got.liveries.size(), 1u) << charset;
        EXPECT_EQ(got.liveries[0].title, "M\xC3\xBCnchen \xF0\x9F\x9B\xA9");
        EXPECT_EQ(got.lines, 4u);
    }
    EXPECT_EQ(judge(wide(false, true)).liveries.size(), 0u)
        << "the lone byte spoils the last line, which holds the airline";
    EXPECT_EQ(judge("\xFF\xFE\x00\xD8[\0", "pack/aircraft.cfg").liveries.size(), 0u);
    EXPECT_EQ(section("title=K\xF6ln\nicao_airline=DLH").liveries.at(0).title, "K\xF6ln") << "bytes stay";
    const auto zero = section(std::string("title=a\0b\nicao_airline=DLH", 24));
    EXPECT_EQ(only(zero, &ScanReports::incompleteSections),
              "pack [fltsim.0] has a title with a zero byte, which the simulator cannot take|");
}

TEST_F(AircraftCfg, JudgesFilesThatCannotBeReadWithoutHarm) {
    EXPECT_TRUE(judgeFile(rules, "nowhere/aircraft.cfg").log.empty());
    fs::create_directories("folder/aircraft.cfg");
    const CfgJudgement folder = judgeFile(rules, "folder/aircraft.cfg");
    EXPECT_EQ(folder.log.at(0), "cannot open file folder/aircraft.cfg for character encoding, err: Is a directory");
    EXPECT_EQ(only(folder, &ScanReports::notUsed), "folder/aircraft.cfg: could not be read|");
    EXPECT_EQ(judge(std::string(300000, '[')).reports.size(), 1u);
    EXPECT_EQ(judge("").reports.size(), 1u);
}

TEST_F(AircraftCfg, ACloseEndsTheReadingOfAFile) {
    const std::string path = "packs/IVAO_MTL/SimObjects/Airplanes/IVAO_A320/aircraft.cfg";
    fs::create_directories("packs/IVAO_MTL/SimObjects/Airplanes/IVAO_A320/texture.a");
    std::string bytes = "[GENERAL]\nicao_type_designator=A320\n";
    for (int i = 0; i < 3; ++i)
        bytes += fmt::format("[fltsim.{0}]\ntitle=A320DLH {0}\ntexture=a\nicao_airline=DLH\n", i);
    for (const bool closed : {false, true}) {
        userClosed = closed;
        EXPECT_EQ(judge(bytes).liveries.size(), closed ? 0u : 3u);
        EXPECT_EQ(judge(bytes, path).liveries.size(), closed ? 0u : 3u);
        std::vector<RegcodeEntry> entries;
        readRegcodeText("title;D-AIPA\n", "file", entries);
        std::ofstream("doc.xml") << "<AIG-regcodes><livery title=\"title\"/></AIG-regcodes>";
        readRegcodeDocument("doc.xml", entries);
        EXPECT_EQ(entries.size(), closed ? 0u : 2u);
    }
}

TEST_F(AircraftCfg, IvaoFilesTakeModelAndAirlineFromNames) {
    const fs::path packages = fs::current_path() / "IVAO_MTL/SimObjects/Airplanes";
    const std::string head = "[fltsim.0]\ntexture=dlh\n";
    struct Row {
        std::string folder, lines, wanted;
    };
    const std::string at = (packages / "IVAO_A320/aircraft.cfg").string() + " [fltsim.0]";
    const std::vector<Row> table{
        {"IVAO_A320", "title=A320 DLH - Lufthansa\natc_id=D-AIPA", "DLH/A320/D-AIPA"},
        {"IVAO_A320", "title=a320DLH\nicao_airline=AFR\natc_parking_types=CARGO", "DLH/A320/"},
        {"IVAO_A320wCFM", "title=A320W AFR", "AFR/A320/"},
        {"IVAO_A320", "title=A320 ZZZ\natc_id=D-AIPA", "ZZZ/A320/"},
        {"IVAO_A320", "title=A320 DLH\natc_id=G-BAFM", "DLH/A320/"},
        {"IVAO_A320", "title=Airbus DLH\natc_id=D-AIPA", "DLH/A320/D-AIPA"},
        {"IVAO_A320", "title=Airbus DLH\natc_id=D-AIXX",
         at + " misses airlinecode in title: Airbus DLH, and regcode unknownD-AIXX|"},
        {"IVAO_A320", "title=Airbus DLH", at + " misses airlinecode in title: Airbus DLH, and no regcode|"},
        {"IVAO_A320", "title=A320 QQQ", "QQQ          in " + at + "|"},
        {"IVAO_A320", "title=A320 DLH\ntitle=A320 AFR", at + " has more than one title key|"},
        {"IVAO_A320", "texture=none\ntitle=A320 DLH", "DLH/A320/"},
        {"IVAO_A320", "title=A320 DLH-STUB", ""},
        {"ivao_a320", "title=A320 DLH\natc_id=D-AIPA,", "DLH/A320/D-AIPA"},
        {"IVAO_A320", "x=y [z]\ntitle=A320 DLH", at + " misses title|"},
        {"IVAO_QQQQ", "title=A320 DLH", "QQQQ             in " + (packages / "IVAO_QQQQ/aircraft.cfg").string() + "|"},
        {"A320", "title=A320 DLH", "                 in " + (packages / "A320/aircraft.cfg").string() + "|"}};
    for (const Row& row : table) {
        fs::create_directories(packages / row.folder / "texture.dlh");
        const CfgJudgement got = judge(head + row.lines, packages / row.folder / "aircraft.cfg");
        EXPECT_TRUE(got.ivao);
        std::string text = only(got, &ScanReports::incompleteSections) + only(got, &ScanReports::invalidAirlines) +
                           only(got, &ScanReports::invalidModels);
        for (const FoundLivery& found : got.liveries) {
            text += fmt::format("{}/{}/{}", found.airline, found.model, found.regcode);
            EXPECT_FALSE(found.cargo);
        }
        EXPECT_EQ(text, row.wanted) << row.lines;
    }
    fs::remove_all(packages / "IVAO_A320" / "texture.dlh");
    EXPECT_EQ(
        only(judge(head + "title=A320 DLH", packages / "IVAO_A320/aircraft.cfg"), &ScanReports::incompleteSections),
        at + " does not exist|");
}

} // namespace
} // namespace kes::test
