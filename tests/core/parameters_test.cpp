// SPDX-License-Identifier: MIT
#include "core/clock.h"
#include "core/parameters.h"
#include "core/parameters_file.h"
#include "core/run_state.h"
#include "core/xml_file.h"
#include "full_disk.h"
#include "pipe_guard.h"
#include "window_backend.h"

#include <algorithm>
#include <pugixml.hpp>

namespace kes {
namespace {

namespace fs = std::filesystem;
using namespace par;

struct ParametersTest : testing::Test {
    ParametersTest() : file(parametersFile()), data(file.parent_path()) { setParameterDefaults(); }
    ~ParametersTest() override {
        setParameterDefaults();
        setWallClockMs(-1);
        fs::permissions(data, fs::perms::owner_all);
    }

    void write(std::string_view content) const { std::ofstream(file, std::ios::binary) << content; }
    /// A good file whose `parameters` element holds `inside`.
    void writeWith(const std::string& inside) const {
        pugi::xml_document document;
        appendMeta(document);
        saveXml(document, file);
        write(test::readFile(file) + "<parameters>" + inside + "</parameters>");
    }
    std::string stored(const std::string& name) const {
        pugi::xml_document document;
        document.load_file(file.c_str());
        const pugi::xml_node node =
            document.child("parameters").find_child_by_attribute("parameter", "name", name.c_str());
        return node ? node.attribute("value").value() : "(none)";
    }
    std::vector<fs::path> asides() const {
        std::vector<fs::path> found;
        for (const fs::path& entry : fs::directory_iterator(data))
            if (entry != file)
                found.push_back(entry.filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    /// Every parameter has its default, but for the version that a new file gives.
    void expectDefaults(const std::string& about) const {
        for (const StoredParameter& parameter : storedParameters())
            if (parameter.name() != "PROGRAM_VERSION") {
                EXPECT_EQ(parameter.valueText(), parameter.defaultText()) << about << ", " << parameter.name();
            }
        EXPECT_EQ(PROGRAM_VERSION.get(), "10.10.9") << about;
    }

    test::TestWindow window;
    test::ProgramFolder folder;
    fs::path file, data;
};

std::string parameter(const std::string& name, const std::string& value) {
    return "<parameter name=\"" + name + "\" value=\"" + value + "\"/>";
}

/// Gives up the rights of the superuser, to whom every file is open, while it lives.
struct PlainUser {
    PlainUser() : rootBefore(geteuid() == 0 && seteuid(65534) == 0) {}
    ~PlainUser() {
        if (rootBefore && seteuid(0) != 0)
            std::abort();
    }
    bool rootBefore;
};

TEST_F(ParametersTest, AFirstStartBuildsTheFileInTheFixedOrder) {
    MAX_LIVE.value = 7; // what an earlier run left in memory
    lfolder[0].set("left over");
    readParameters();
    expectDefaults("first start");
    EXPECT_TRUE(folder.logHas(file.string() + " not found, default values taken:\nRANDOM=true\nAEROWINX=false\n"));
    EXPECT_TRUE(folder.logHas("\nPORT_NUMBER=10747\nlfolder0=\n"));

    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(file.c_str()));
    EXPECT_STREQ(document.document_element().name(), "meta");
    EXPECT_TRUE(metaIsGood(document));
    std::vector<std::string> names;
    for (const pugi::xml_node node : document.child("parameters").children("parameter"))
        names.push_back(node.attribute("name").value());
    ASSERT_EQ(names.size(), 59u);
    EXPECT_EQ(names[0] + " " + names[25] + " " + names[26] + " " + names[32] + " " + names[41] + " " + names[58],
              "RANDOM GUID_CHANGES CUSTOM_PARKING_PERCENTAGE MATCHING_DEPTH PROGRAM_VERSION BLOCK_CALLSIGN");
    EXPECT_EQ(stored("PROGRAM_VERSION"), "") << "the version step of the next start stores it";
    for (const char* unsaved : {"ALL_INSTALL_PATH", "CALLSIGN_2_OBJECTID", "parking_percentage", "MAX_FIT_FL"})
        EXPECT_EQ(stored(unsaved), "(none)") << unsaved;

    readParameters();
    EXPECT_EQ(stored("lfolder4"), "(none)");
    EXPECT_TRUE(folder.logHas("\nlfolder4=\nParameter lfolder4 removed\n"));
    const std::string settled = test::readFile(file);
    const auto time = fs::last_write_time(file);
    readParameters();
    EXPECT_EQ(test::readFile(file), settled);
    EXPECT_EQ(fs::last_write_time(file), time) << "a complete file is not written again";
}

TEST_F(ParametersTest, DefaultsLieWithinTheirLimits) {
    for (const StoredParameter& entry : storedParameters()) {
        if (IntParameter* const* integer = std::get_if<IntParameter*>(&entry.value)) {
            EXPECT_EQ((*integer)->clamped((*integer)->defaultValue), (*integer)->defaultValue) << entry.name();
        }
    }
    EXPECT_EQ(MAX_LIVE.clamped(INT64_MAX), 300);
    EXPECT_EQ(MAX_LIVE.clamped(INT64_MIN), -1);
}

// What a hand, an older version or a crash may have made of single entries.
TEST_F(ParametersTest, EntriesAreTakenByTheRules) {
    const struct {
        std::string inside;
        const char* name;
        const char* value;
        const char* inFile;
    } cases[] = {
        {parameter("MAX_LIVE", "301"), "MAX_LIVE", "300", "301"},
        {parameter("MAX_LIVE", "-99"), "MAX_LIVE", "-1", "-99"},
        {parameter("MAX_LIVE", "99999999999999999999"), "MAX_LIVE", "300", "99999999999999999999"},
        {parameter("MAX_LIVE", "many"), "MAX_LIVE", "0", "many"},
        {parameter("AIRPORT_RANGE", "text"), "AIRPORT_RANGE", "8", "text"},
        {parameter("AIRPORT_RANGE", "25 nm"), "AIRPORT_RANGE", "25", "25 nm"},
        {parameter("AIRPORT_RANGE", ""), "AIRPORT_RANGE", "8", ""},
        {"", "AIRPORT_RANGE", "20", "20"},
        {"<parameter name='AIRPORT_RANGE'/>", "AIRPORT_RANGE", "20", "20"},
        {"<other name='AIRPORT_RANGE' value='9'/>", "AIRPORT_RANGE", "20", "20"},
        {"<group>" + parameter("AIRPORT_RANGE", "9") + "</group>", "AIRPORT_RANGE", "20", "20"},
        {parameter("AIRPORT_RANGE", "9") + parameter("AIRPORT_RANGE", "10"), "AIRPORT_RANGE", "9", "9"},
        {parameter("airport_range", "9"), "AIRPORT_RANGE", "20", "20"},
        {parameter("LOG", "Yes"), "LOG", "true", "Yes"},
        {parameter("LOG", "1"), "LOG", "true", "1"},
        {parameter("LOG", ""), "LOG", "false", ""},
        {parameter("lfolder3", ""), "lfolder3", "", "(none)"},
        {"<parameter name='lfolder3'/>", "lfolder3", "", "(none)"},
        {parameter("lfolder3", "D:\\a &amp; b's &quot;x&quot;"), "lfolder3", "D:\\a & b's \"x\"", "D:\\a & b's \"x\""},
        {parameter("lfolder3", "Fl\xC3\xBCge"), "lfolder3", "Fl\xC3\xBCge", "Fl\xC3\xBCge"},
        {parameter("lfolder3", "Fl\xFCge"), "lfolder3", "Fl\xC3\xBCge", "Fl\xFCge"},
        {parameter("PORT_NUMBER", ""), "PORT_NUMBER", "", ""},
    };
    for (const auto& row : cases) {
        setParameterDefaults();
        writeWith(row.inside);
        readParameters();
        const auto entry = std::ranges::find(storedParameters(), row.name, &StoredParameter::name);
        EXPECT_EQ(entry->valueText(), row.value) << row.inside;
        EXPECT_EQ(stored(row.name), row.inFile) << row.inside;
        EXPECT_TRUE(folder.logHas(std::string(row.name) + "=" + row.value + "\n")) << row.inside;
    }
    EXPECT_TRUE(asides().empty());
    EXPECT_FALSE(folder.logHas("not found") || folder.logHas("meta data"));
}

TEST_F(ParametersTest, AnOlderFileGainsWhatItLacksAndKeepsTheRest) {
    write("<!-- mine --><meta><info name=\"author\" value=\"somebody\"/></meta>\n<parameters extra='1'>" +
          parameter("GONE_SINCE", "5") + parameter("MAX_FIT", "11") + "</parameters><later/>");
    readParameters();
    EXPECT_TRUE(folder.logHas("from \"" + file.string() + "\"\n"));
    EXPECT_TRUE(folder.logHas("\nmeta data incorrect?\n"));
    EXPECT_EQ(stored("GONE_SINCE"), "5");
    EXPECT_EQ(stored("MAX_FIT"), "11");
    EXPECT_EQ(stored("MAX_HOLDING_MINUTES"), "20");
    EXPECT_NE(test::readFile(file).find("mine"), std::string::npos) << "a user's comment stays";
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(file.c_str()));
    EXPECT_TRUE(metaIsGood(document));
    EXPECT_STREQ(document.document_element().name(), "meta");
    EXPECT_TRUE(document.child("later"));
}

TEST_F(ParametersTest, MetaMayDifferInVersionAndSimulatorOnly) {
    const struct {
        const char *name, *value; ///< a null value takes the line away
        bool good;
    } cases[] = {{"version", "9.0.1", true},         {"MSFS", "2024", true},   {"version", "", false},
                 {"author", "somebody else", false}, {"date", nullptr, false}, {"MSFS", nullptr, false}};
    for (const auto& c : cases) {
        pugi::xml_document document;
        appendMeta(document);
        pugi::xml_node info = document.child("meta").find_child_by_attribute("info", "name", c.name);
        if (c.value != nullptr)
            info.attribute("value") = c.value;
        else
            document.child("meta").remove_child(info);
        EXPECT_EQ(metaIsGood(document), c.good) << c.name;
    }
    EXPECT_FALSE(metaIsGood(pugi::xml_document()));

    MSFS_2020.value = false;
    pugi::xml_document document;
    appendMeta(document);
    EXPECT_STREQ(document.child("meta").last_child().attribute("value").value(), "2024");
}

// Files that are no parameter files, whatever made them so: the run starts with the defaults, and nothing is lost.
TEST_F(ParametersTest, ADamagedFileIsKeptAsideUnderANameOfItsOwn) {
    setWallClockMs(1795562100000); // 2026-11-24 23:15:00
    readParameters();
    const std::string whole = test::readFile(file);
    std::string deep;
    for (const char* tag : {"<a>", "</a>"})
        for (int i = 0; i < 200000; ++i)
            deep += tag;
    std::string binary = "<parameters>";
    for (int i = 0; i < 4000; ++i)
        binary += static_cast<char>(i * 7 % 256);
    const std::string cases[] = {
        "",
        whole.substr(0, whole.size() / 2),
        "PORT_NUMBER=10747\n",
        "<html><body>" + parameter("MAX_LIVE", "5") + "</body></html>",
        "<root>" + whole.substr(whole.find("<meta")) + "</root>",
        binary,
        std::string(5 << 20, ' ') + whole,
        "<parameters><parameter name=\"lfolder0\" value=\"\">" + deep + "</parameter></parameters>",
        std::string(1000, '\0'),
    };
    std::size_t kept = 0;
    for (const std::string& content : cases) {
        MAX_LIVE.value = 9;
        write(content);
        readParameters();
        const std::string about = content.substr(0, 40);
        expectDefaults(about);
        EXPECT_EQ(test::readFile(file), whole) << about;
        ASSERT_EQ(asides().size(), ++kept) << about;
        const std::string name =
            "parameters.damaged-20261124-231500" + (kept == 1 ? std::string() : "-" + std::to_string(kept)) + ".xml";
        EXPECT_EQ(test::readFile(data / name), content) << about;
        EXPECT_TRUE(folder.logHas("kept as " + (data / name).string())) << about;
    }
}

TEST_F(ParametersTest, AFileThatCannotBeReadIsLeftAlone) {
    fs::permissions(folder.folder, fs::perms::all);
    fs::permissions(data, fs::perms::all);
    fs::permissions(data.parent_path(), fs::perms::all);
    writeWith(parameter("MAX_LIVE", "77"));
    const std::string before = test::readFile(file);
    fs::permissions(file, fs::perms::none);
    {
        const PlainUser user;
        readParameters();
        expectDefaults("no right to read");
        MAX_FIT.value = 3;
        save(MAX_FIT);
    }
    EXPECT_TRUE(folder.logHas("cannot be read (Permission denied)"));
    EXPECT_TRUE(folder.logHas("saving xml did not work?"));
    EXPECT_EQ(MAX_FIT, 3) << "the value stays in effect";
    fs::permissions(file, fs::perms::owner_all);
    EXPECT_EQ(test::readFile(file), before);
    EXPECT_TRUE(asides().empty());
    save(MAX_FIT);
    EXPECT_EQ(stored("MAX_FIT"), "3") << "readable again, it takes changes";
    EXPECT_EQ(stored("MAX_LIVE"), "77");

    fs::remove(file);
    fs::create_directory(file);
    readParameters();
    save(MAX_FIT);
    EXPECT_TRUE(fs::is_directory(file));
    fs::remove(file);
    const test::PipeGuard pipe(file);
    readParameters();
    save(MAX_FIT);
    EXPECT_TRUE(folder.logHas("cannot be read (not a regular file)"));
    EXPECT_TRUE(fs::is_fifo(file));
}

TEST_F(ParametersTest, AFailingSaveLeavesFileAndRunAsTheyAre) {
    readParameters();
    const std::string before = test::readFile(file);
    MAX_LIVE.value = 33;
    {
        const test::FullDisk full;
        save(MAX_LIVE);
    }
    EXPECT_EQ(test::readFile(file), before);
    EXPECT_EQ(MAX_LIVE, 33);
    EXPECT_TRUE(asides().empty());
    // The log has met the full disk too.
    openLog("Log.txt");

    fs::permissions(folder.folder, fs::perms(0755));
    fs::permissions(data, fs::perms(0555));
    {
        const PlainUser user;
        save(MAX_LIVE);
        EXPECT_TRUE(folder.logHas("saving xml did not work?"));
        EXPECT_TRUE(folder.logHas("\nMAX_LIVE=33\n"));
    }
    write("<parameters>"); // a damaged file in a folder where nothing can be moved
    {
        const PlainUser user;
        readParameters();
    }
    EXPECT_EQ(test::readFile(file), "<parameters>");
    EXPECT_TRUE(folder.logHas("cannot be kept aside"));
    expectDefaults("read-only folder");
}

TEST_F(ParametersTest, SaveWritesOneValueIntoTheFileAsItStandsNow) {
    readParameters();
    LATERAL_RANGE.value = 55;
    LOG.value = false;
    MSFS_INSTALL_PATH.set("C:\\Sim & <more> \"x\" 'y' \xC3\xBC");
    write("<!-- edited --><parameters>" + parameter("AIRPORT_RANGE", "9") + "<parameter name='LOG'/></parameters>");
    save(LATERAL_RANGE);
    save(LOG);
    save(MSFS_INSTALL_PATH);
    EXPECT_EQ(stored("LATERAL_RANGE"), "55");
    EXPECT_EQ(stored("LOG"), "false");
    EXPECT_EQ(stored("MSFS_INSTALL_PATH"), MSFS_INSTALL_PATH.get());
    EXPECT_EQ(stored("AIRPORT_RANGE"), "9") << "what somebody edited meanwhile stays";
    EXPECT_TRUE(folder.logHas("\nLATERAL_RANGE=55\nLOG=false\nMSFS_INSTALL_PATH=C:\\Sim & <more>"));
}

TEST_F(ParametersTest, ASaveOfAMissingOrDamagedFileWritesAllValuesInUse) {
    for (const char* content : {"", "<parameters><parameter name="}) {
        setParameterDefaults();
        fs::remove(file);
        if (*content != '\0')
            write(content);
        MAX_LIVE.value = 44;
        lfolder[2].set("/liveries");
        WEEK.value = true;
        save(MAX_LIVE);
        setParameterDefaults();
        readParameters();
        EXPECT_EQ(MAX_LIVE, 44);
        EXPECT_EQ(lfolder[2].get(), "/liveries");
        EXPECT_TRUE(WEEK);
        EXPECT_EQ(asides().size(), *content == '\0' ? 0u : 1u);
    }
}

TEST_F(ParametersTest, SavesFromTwoThreadsLoseNothing) {
    readParameters();
    std::thread other([] {
        for (int i = 1; i <= 30; ++i) {
            MAX_LIVE.value = i;
            save(MAX_LIVE);
            DESTINATION.set("EDD" + std::to_string(i));
            save(DESTINATION);
        }
    });
    for (int i = 1; i <= 30; ++i) {
        LAST_EPOCH_TIME.value = i * 1000;
        save(LAST_EPOCH_TIME);
        save(DESTINATION);
    }
    other.join();
    EXPECT_EQ(stored("MAX_LIVE"), "30");
    EXPECT_EQ(stored("LAST_EPOCH_TIME"), "30000");
    EXPECT_EQ(stored("DESTINATION"), "EDD30");
    EXPECT_TRUE(asides().empty());
}

TEST_F(ParametersTest, AReadSetsTheBoxesAndWhatFollowsFromTheValues) {
    parking_percentage.value = 80;
    MAX_FIT_FL.value = 1.0F;
    writeWith(parameter("LATERAL_RANGE", "250") + parameter("MAX_FIT", "10") + parameter("WEEK", "true") +
              parameter("BLOCK_CALLSIGN", "DLH4C"));
    readParameters();
    EXPECT_EQ(parking_percentage, 30);
    EXPECT_EQ(MAX_FIT_FL, 5.5F);
    EXPECT_EQ(rangeNm, 100.0F);
    EXPECT_EQ(rangeMetres, 185200);
    std::string boxes;
    for (const int id : {32818, 32848, 32855, 32854, 32852, 32828})
        boxes += window.shown().boxes[static_cast<std::uint16_t>(id)] + "|";
    EXPECT_EQ(boxes, "100|30|5.5|x||DLH4C|");
    fs::remove(file);
    readParameters();
    EXPECT_EQ(window.shown().boxes[32818], "40") << "defaults reach the boxes as well";
    EXPECT_EQ(MAX_FIT_FL, 24.0F);
}

} // namespace
} // namespace kes
