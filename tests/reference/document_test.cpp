// SPDX-License-Identifier: MIT
// What is read from a document, and what is told about it.
#include "core/errors.h"
#include "core/run_state.h"
#include "document_text.h"
#include "files.h"
#include "pipe_guard.h"

namespace kes {
namespace {

using namespace test;

struct Document : ReferenceTest {};

TEST_F(Document, FillsEachTableFromItsSection) {
    DocumentText()
        .set("aircrafts", "<aircraft types=\" " + model("A320") + "\t,\n" + model("B744") +
                              " \"/><other types=\"x\"/>" + "<aircraft types=\"" + model("C172") +
                              "\"/><aircraft types=\"" + model("A320") + "\"/>")
        .set("similar_types", "<similar types=\"" + models({"C172", "A320", "B744"}) + "\"/><similar types=\"" +
                                  models({"F16", "A1"}) + "\"/>")
        .set("fixes", "<fx wro=\"73H\" cor=\"B744\"/>")
        .set("thirdparties20",
             "<thirdpartie20 pub=\"Pyreegue\" arpts=\"EGNX12, EGPF7\"/><thirdpartie20 pub=\"Aerosoft\"/>")
        .set("thirdparties24", "<thirdpartie24 pub=\"Orbx\" arpts=\"EGLC20\"/>")
        .set("unknown_section", "<x/>")
        .read();
    const ReferenceData& data = referenceData();
    EXPECT_EQ(setsText(), "A320,B744,C172|A388,B744|A320,A388|C25A|F16|EC35|B744|BAW,KLM|GEC|EHAM,LFPG");
    EXPECT_EQ(data.similarGroups, (std::vector<std::vector<std::string>>{{"A320", "B744", "C172"}, {"A1", "F16"}}));
    EXPECT_EQ(data.modelFixes.at("73H"), "B744");
    EXPECT_EQ(thirdPartiesText(), "Pyreegue:EGNX12,EGPF7;Aerosoft:;|Orbx:EGLC20;");
    EXPECT_EQ(dbaseSize(), 0u);
}

TEST_F(Document, EmptySectionsAreUserErrors) {
    struct Case {
        const char *section, *child, *attribute;
    };
    for (const Case& c : {Case{"aircrafts", "aircraft", "types"}, Case{"high_performance", "hpf", "types"},
                          Case{"heavy", "hvy", "types"}, Case{"large", "lar", "types"}, Case{"buzjet", "bzj", "types"},
                          Case{"rotorcraft", "rot", "types"}, Case{"cargo_types", "cargo_type", "types"},
                          Case{"ICAO_airlines", "ICAO", "codes"}, Case{"cargo_operators", "ICAO", "codes"},
                          Case{"simaddons20", "simaddon20", "arpts"}}) {
        const std::string text =
            fmt::format("61: In an xml file section {} {} {} is empty ", c.section, c.child, c.attribute);
        EXPECT_EQ(thrownBy([&] { DocumentText().without(c.section).read(); }), text);
        EXPECT_EQ(thrownBy([&] { DocumentText().set(c.section, "<other/>").read(); }), text);
        EXPECT_THROW(DocumentText().without(c.section).read(), nwk::UserErrorException);
        // An element with nothing in it gives one empty member, as any list of that form does.
        EXPECT_EQ(thrownBy([&] { DocumentText().set(c.section, fmt::format("<{}/>", c.child)).read(); }), "");
    }
    EXPECT_FALSE(modelExists(""));
}

TEST_F(Document, SectionsAreReadInTheirOrder) {
    const auto document = [] { return DocumentText().without("heavy").without("ICAO_airlines"); };
    const std::string heavyEmpty = "61: In an xml file section heavy hvy types is empty ";
    EXPECT_EQ(thrownBy([&] { document().without("large").read(); }), heavyEmpty);
    // A broken value ends the reading where it stands: registrations come last, sets before the airlines.
    EXPECT_EQ(thrownBy([&] { document().set("dbase", "<db reg=\"\" airl=\"AB\"/>").read(); }), heavyEmpty);
    EXPECT_EQ(thrownBy([&] { DocumentText().set("large", "<lar types=\"X\"/>").without("ICAO_airlines").read(); }),
              "decrypt model \"X\" error");
    const std::string good = db("G-ABCD", "BAW", "A320"), longRegcode(25, 'A');
    struct Case {
        const char* section;
        std::string content, value;
    };
    for (const Case& c : {Case{"cargo_operators", "<ICAO codes=\"ABCD\"/>", "airl \"ABCD\""},
                          Case{"similar_types", "<similar types=\"X\"/>", "model \"X\""},
                          Case{"dbase", good + "<db airl=\"ABCD\"/>", "airl \"ABCD\""},
                          Case{"dbase", good + "<db opr=\"ABCDE\"/>", "airl \"ABCDE\""},
                          Case{"dbase", good + "<db type=\"A\"/>", "model \"A\""},
                          Case{"dbase", good + "<db reg=\"" + longRegcode + "\"/>", "regcode \"" + longRegcode + "\""}})
        EXPECT_EQ(thrownBy([&] { DocumentText().set(c.section, c.content).read(); }), "decrypt " + c.value + " error");
}

TEST_F(Document, WhatIsNoXmlIsUserError60) {
    const auto read = [](const std::string& text) { reference::readDocumentText(text, "input/temp2.xml"); };
    struct Case {
        std::string text, reason;
    };
    const std::string good = DocumentText().set("dbase", db("G-ABCD", "BAW", "A320")).xml();
    for (const Case& c :
         {Case{"", "No document element found"}, Case{"plain words", "No document element found"},
          Case{"<aircrafts>", "Start-end tags mismatch"}, Case{good + "<x =", "Error parsing start element tag"},
          Case{good.substr(0, good.find("airl=") + 9), "Error parsing element attribute"},
          Case{good.substr(0, good.find("</dbase>")), "Start-end tags mismatch"},
          Case{good + "<!-- open", "Error parsing comment"}})
        EXPECT_EQ(thrownBy([&] { read(c.text); }), "60: \"temp2.xml\" not read because of " + c.reason);
    EXPECT_EQ(thrownBy([] { readReferenceDocument("input/absent.xml"); }),
              "60: \"absent.xml\" not read because of File was not found");
    EXPECT_EQ(thrownBy([] { readReferenceDocument("appdata"); }),
              "60: \"appdata\" not read because of Error reading from file/stream");
    EXPECT_THROW(read(""), nwk::UserErrorException);
}

TEST_F(Document, ACloseEndsTheReading) {
    const std::string text = DocumentText().set("dbase", db("G-ABCD", "BAW", "A320")).xml();
    userClosed = true;
    for (const reference::ParseAs parseAs : {reference::ParseAs::pieces, reference::ParseAs::whole})
        EXPECT_EQ(thrownBy([&] { reference::readDocumentText(text, "input/temp2.xml", parseAs); }),
                  "the run was ended");
    resetRunFlags();
    // What is no file, and what would fill the memory.
    const PipeGuard pipe("pipe.xml");
    std::ofstream("long.xml") << text;
    std::filesystem::resize_file("long.xml", (256 << 20) + 1); // a hole on the disk
    for (const char* name : {"pipe.xml", "long.xml"})
        EXPECT_EQ(thrownBy([&] { readReferenceDocument(name); }),
                  fmt::format("60: \"{}\" not read because of Error reading from file/stream", name));
}

TEST_F(Document, AFailedReadingLeavesTheTablesAsTheyWere) {
    DocumentText().set("dbase", db("G-ABCD", "BAW", "A320")).set("publishers", "<pub names=\"Orbx\"/>").read();
    EXPECT_THROW(DocumentText()
                     .set("aircrafts", "<aircraft types=\"" + model("DC3") + "\"/>")
                     .set("dbase", db("PH-BVB", "KLM", "A320") + "<db type=\"A\"/>")
                     .read(),
                 std::runtime_error);
    EXPECT_TRUE(modelExists("A320"));
    EXPECT_FALSE(modelExists("DC3"));
    EXPECT_TRUE(lookupRegcode("G-ABCD"));
    EXPECT_FALSE(lookupRegcode("PH-BVB"));
    EXPECT_EQ(publisherOf("orbx"), "Orbx");
    EXPECT_TRUE(airlineExists("KLM"));
    // A second good document replaces all of it.
    DocumentText().set("dbase", db("PH-BVB", "KLM", "A320")).read();
    EXPECT_FALSE(lookupRegcode("G-ABCD"));
    EXPECT_EQ(publisherOf("orbx"), "unknown");
}

TEST_F(Document, Wingspans) {
    DocumentText()
        .set("wingspans", span("A320", "35.8") + span("A388", "79.75") + span("A388", "10") + span("C172", " 11.0 ") +
                              span("XX99", "20") + "<wingspan meters=\"3\"/>" + span("F16", "wide") +
                              span("EC35", "-4") + span("B744", "64,4") + span("C25A", "1e999") + span("A1", "") +
                              span("F16", "9.45"))
        .read();
    const ReferenceData& data = referenceData();
    const auto half = [](double metres) { return metres / 2 / 1852; };
    EXPECT_EQ(data.wingspanByType.size(), 4u);
    for (const auto& [type, metres] : {std::pair{"A320", 35.8}, {"A388", 79.75}, {"C172", 11.0}, {"F16", 9.45}})
        EXPECT_NEAR(wingspanOf(type), half(metres), 1e-12) << type;
    // Categories with spans have their mean, the others the mean of all types.
    const double all = half((35.8 + 79.75 + 11.0 + 9.45) / 4);
    EXPECT_NEAR(wingspanOf("B744"), all, 1e-12);
    EXPECT_NEAR(wingspanOf("EC35"), all, 1e-12);
    EXPECT_NEAR(wingspanOf("A1"), half(11.0), 1e-12);
    EXPECT_NEAR(data.categoryAverageSpan[static_cast<std::size_t>(AircraftCategory::large)], half((35.8 + 79.75) / 2),
                1e-12);
    EXPECT_NEAR(maxWingspan(), half(79.75), 1e-12);
    EXPECT_TRUE(folder.logHas("wingspan model XX99 is no valid model, skipped\n"));
    EXPECT_TRUE(folder.logHas("wingspan model  is no valid model, skipped\n"));
    for (const auto& [type, value] :
         {std::pair{"F16", "wide"}, {"EC35", "-4"}, {"B744", "64,4"}, {"C25A", "1e999"}, {"A1", ""}})
        EXPECT_TRUE(folder.logHas(fmt::format("wingspan \"{}\" of model {} is no length, skipped\n", value, type)));
    EXPECT_EQ(thrownBy([] { DocumentText().set("wingspans", "<wingspan type=\"X\" meters=\"3\"/>").read(); }),
              "exception decrypt model \"X\" error in reading wingspans from \"input/temp2.xml\"");
    DocumentText().read();
    EXPECT_EQ(wingspanOf("A320"), 0);
    EXPECT_EQ(maxWingspan(), 0);
}

TEST_F(Document, Registrations) {
    DocumentText()
        .set("dbase", db("G-ABCD", "BAW", "A320", "GEC", "1") + db("G-ABCD", "KLM", "B744") + "<db reg=\"" +
                          reg("PH-BVB") + "\" airl=\"KLM\" cargo=\"\"/><other reg=\"" + reg("OO-AAA") + "\"/>" +
                          "<db reg=\"" + reg("D-AIMA") + "\" reg=\"" + reg("D-AIMB") + "\" airl=\"\" airl=\"" +
                          airline("DLH") + "\"/>" + db("N1+2", "PVT", "A1"))
        .read();
    EXPECT_EQ(dbaseSize(), 4u);
    for (const auto& [regcode, record] : {std::pair{"G-ABCD", "BAW/A320/GEC/cargo"},
                                          {"PH-BVB", "KLM//"},
                                          {"D-AIMA", "//"},
                                          {"D-AIMB", "unknown"},
                                          {"OO-AAA", "unknown"},
                                          {"N1+2", "PVT/A1/"}})
        EXPECT_EQ(recordText(regcode), record) << regcode;
    EXPECT_EQ(folder.logCount("regcode G-ABCD already exists\n"), 1u);
    EXPECT_EQ(folder.logCount("Unencrypted airline KLM in decrypt airl?\n"), 1u);
}

} // namespace
} // namespace kes
