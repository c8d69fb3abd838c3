// SPDX-License-Identifier: MIT
// Learned files of users, merged into the airport files of the server.
#include "airports/airport_xml.h"
#include "core/xml_file.h"
#include "files.h"
#include "pack_folder.h"
#include "tools/csv/csv.h"
#include "tools/pack/command.h"

#include <fmt/format.h>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;
using test::putFile;

std::string document(const std::string& parameters, const std::string& stands) {
    return "<?xml version=\"1.0\"?><parameters><parameter name=\"altitude\" value=\"10\"/><parameter "
           "name=\"RT_traffic_week\" value=\"30\"/><parameter name=\"Qf_real\" value=\"32\"/><parameter "
           "name=\"Qf_soft\" value=\"0\"/>" +
           parameters + "</parameters><parkpositions>" + stands + "</parkpositions>";
}
std::string learned(const std::string& stands, const std::string& publisher = "stock", const std::string& more = "") {
    return document("<parameter name=\"publisher\" value=\"" + publisher + "\"/>" + more, stands);
}
std::string base(const std::string& publisher) {
    return document("<parameter name=\"publisher\" value=\"" + publisher + "\"/>",
                    "<parkpos id=\"1\" latitude=\"50\" longitude=\"8\" radius=\"18\"><opt airl=\"DLH\" type=\"A320\" "
                    "day=\"1\" hh=\"10,11\"/></parkpos>"
                    "<parkpos id=\"2\" latitude=\"50.1\" longitude=\"8\" radius=\"18\"/>");
}

std::string onTwo(const std::string& options, const std::string& publisher = "stock", const std::string& more = "") {
    return learned("<parkpos id=\"2\">" + options + "</parkpos>", publisher, more);
}

const std::string dlh = "<opt airl=\"DLH\" type=\"A320\" day=\"1\" hh=\"11,12\"/>";
const std::string baw = "<opt airl=\"BAW\" type=\"A320\" soft=\"true\" day=\"2\" hh=\"4\"/>";

/// "id radius [cargo]: airline type day hours [soft];" of each stand.
std::string standsIn(const fs::path& file) {
    pugi::xml_document xml;
    AirportFile read;
    std::int32_t week = 0;
    std::vector<Stand> list;
    if (!loadXml(xml, file))
        return "none";
    readBase(xml, read, week, list);
    EXPECT_EQ(week, 30) << "what the file tells besides is kept";
    EXPECT_EQ(QualityPair(read.Qf_real, read.Qf_soft), qualityOf(list));
    std::string text;
    for (const Stand& s : list) {
        text += fmt::format("{} {:.0f}{}:", s.id, s.radius * metresPerNm, s.cargo ? " cargo" : "");
        for (const ParkPosOption& o : s.options)
            text += fmt::format(" {}{} {} {} {}{};", o.regcode, o.airline, o.model, o.day, hoursText(o.hours),
                                o.real == 0 ? " soft" : "");
        text += "\n";
    }
    return text;
}

TEST(LearnedMerge, FilesGoToTheirAirportByTheProgramsRules) {
    const std::string one = "1 18: DLH A320 1 10,11;\n", before = one + "2 18:\n";
    const struct {
        const char* name;
        std::vector<std::pair<const char*, std::string>> files;
        std::string stands; ///< of stock EDDF
        const char* told;   ///< part of what the command says
    } cases[] = {
        {"an option like one that is there",
         {{"a/EDDF.xml", learned("<parkpos id=\"1\">" + dlh + "</parkpos>")}},
         before,
         "1 learned file merged: 0 options"},
        {"two users, one of them twice",
         {{"a/EDDF.xml", onTwo(baw + dlh)}, {"b/x/EDDF.XML", onTwo(dlh + baw)}},
         one + "2 18: BAW A320 2 4 soft; DLH A320 1 11,12;\n",
         "2 learned files merged: 2 options"},
        {"corrections, the later one holds",
         {{"a/EDDF.xml",
           learned("<parkpos id=\"1\" radius_change=\"true\" radius=\"20\" cargo_change=\"true\" cargo=\"true\"/>")},
          {"b/EDDF.xml", learned("<parkpos id=\"1\" radius_change=\"true\" radius=\"26\"/>")}},
         "1 26 cargo: DLH A320 1 10,11;\n2 18:\n",
         "2 learned files merged"},
        {"made by hand",
         {{"a/EDDF.xml", learned("<parkpos id=\"H\" latitude=\"50.2\" longitude=\"8\" radius=\"9\" manual=\"true\">" +
                                 dlh + "</parkpos>")}},
         before + "H 9: DLH A320 1 11,12;\n",
         "merged: 1 option\n"},
        {"airline by the registration",
         {{"a/EDDF.xml", onTwo("<opt reg=\"D-AIZA\" day=\"3\" hh=\"1\"/>")}},
         one + "2 18: D-AIZADLH A320 3 1;\n",
         "merged: 1 option\n"},
        {"a stand that is not there",
         {{"a/EDDF.xml", learned("<parkpos id=\"99\">" + dlh + "</parkpos><parkpos id=\"2\">" + baw + "</parkpos>")}},
         one + "2 18: BAW A320 2 4 soft;\n",
         "EDDF.xml:1: has stands that are not in the airport file"},
        {"damaged, and another one",
         {{"a/EDDF.xml", "<parameters><parame"}, {"b/EDDF.xml", onTwo(baw)}},
         one + "2 18: BAW A320 2 4 soft;\n",
         "EDDF.xml:1: could not be loaded"},
        {"handmade",
         {{"a/EDDF.xml", learned("", "stock", "<parameter name=\"handmade\" value=\"true\"/>")}},
         before,
         "handmade: it would replace the whole list"},
        {"unknown publisher", {{"a/EDDF.xml", onTwo(baw, "unknown")}}, before, "the publisher is unknown"},
        {"publisher that leads away", {{"a/EDDF.xml", onTwo(baw, "../stock")}}, before, "is no publisher"},
        {"airport that is not there", {{"a/EDDM.xml", onTwo(baw)}}, before, "EDDM.xml:1: is not there"},
        {"no code", {{"a/EDDF copy.xml", onTwo(baw)}}, before, "is no airport code"},
        {"nothing to merge", {{"a/readme.txt", "x"}}, before, "0 learned files merged"},
    };
    for (const auto& c : cases) {
        const test::PackFolder folder;
        test::PackFolder::packAndRead(test::PackFolder::plan());
        const fs::path file = "updates/MSFS/archive/stock/EDDF.xml";
        putFile(file, base("stock"));
        fs::create_directories("collected");
        for (const auto& [name, text] : c.files)
            putFile(fs::path("collected") / name, text);
        std::string out, error, first;
        resetReference();
        for (int run = 0; run < 2; ++run) { // again, which changes nothing
            ASSERT_EQ(runCommand({"--out", "updates", "--learned", "collected"}, out, error), 0) << error;
            EXPECT_EQ(standsIn(file), c.stands) << c.name;
            const std::string text = readBytes(file).value();
            EXPECT_TRUE(first.empty() || text == first) << c.name;
            first = text;
            EXPECT_EQ(text.find("manual"), std::string::npos) << c.name;
        }
        EXPECT_NE(out.find(c.told), std::string::npos) << c.name << ": " << out;
    }
}

TEST(LearnedMerge, EveryPublisherHasItsFolder) {
    const test::PackFolder folder;
    const std::string msfs2024 = "</parameters><meta><info name=\"MSFS\" value=\"2024\"/></meta><parameters>";
    const struct {
        const char* file;
        std::string publisher, more;
    } cases[] = {{"MSFS/archive/simaddon/EDDF.xml", "simaddon", ""},
                 {"MSFS/archive/thirdparty/Best Scenery/EDDF.xml", "Best Scenery", ""},
                 {"MSFS2024/archive/thirdparty/Best Scenery/EDDF.xml", "Best Scenery", msfs2024}};
    for (const auto& c : cases) {
        putFile(fs::path("updates") / c.file, base(c.publisher));
        putFile("collected/EDDF.xml", onTwo(baw, c.publisher, c.more));
        std::string out, error;
        ASSERT_EQ(runCommand({"--out", "updates", "--learned", "collected"}, out, error), 0) << error;
        EXPECT_NE(standsIn(fs::path("updates") / c.file).find("BAW"), std::string::npos) << c.file;
        fs::remove_all("updates");
    }
}

} // namespace
} // namespace kes::pack
