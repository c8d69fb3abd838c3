// SPDX-License-Identifier: MIT
// The two ways through a document must not be told apart: in pieces and as a whole.
#include "core/errors.h"
#include "document_text.h"
#include "reference/airframes.h"

#include <random>

namespace kes {
namespace {

using namespace test;
using reference::ParseAs;

/// All that reading a document leaves behind: records, log lines, the failure.
std::string told(const ProgramFolder& folder, const std::string& text, ParseAs parseAs,
                 std::size_t pieceSize = reference::usualPiece) {
    resetReference();
    std::string all;
    const auto logBefore = folder.logText().size();
    try {
        reference::readDocumentText(text, "input/temp2.xml", parseAs, pieceSize);
    } catch (const std::exception& e) {
        all += std::string("throws ") + e.what() + "\n";
    }
    all += folder.logText().substr(logBefore);
    const auto& records = reference::tables.dbaseRecords;
    for (std::uint32_t i = 0; i < records.size(); ++i) {
        const reference::PackedRecord& r = records.record(i);
        all += fmt::format("{} {} {} {} {}\n", records.key(i), std::string_view(r.airl.data(), 3),
                           std::string_view(r.type.data(), 4), std::string_view(r.opr.data(), 3), r.cargo);
    }
    all += fmt::format("{} types", referenceData().aircraftTypes.size());
    resetReference();
    return all;
}

std::string manyRecords(int count) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += db(fmt::format("G-{:05}", i), i % 7 == 0 ? "PVT" : "BAW", "A320", i % 3 == 0 ? "GEC" : "",
                  i % 5 ? "" : "1");
    return all;
}

bool fitsPieces(const std::string& text) {
    const auto section = reference::findAirframeSection(text);
    if (!section)
        return false;
    pugi::xml_document document;
    const auto result = document.load_buffer(section->rest.data(), section->rest.size());
    reference::AirframeReader reader;
    return section->foundIn(document, result) && reference::readInPieces(section->body, reference::usualPiece, reader);
}

TEST(Roads, GiveTheSameForAllDocuments) {
    const ProgramFolder folder;
    // 70 bytes a record: several pieces.
    const std::string many = manyRecords(4000), few = manyRecords(3);
    const auto with = [](const std::string& dbase) { return DocumentText().set("dbase", dbase).xml(); };
    struct Case {
        const char* name;
        std::string text;
        bool pieces; ///< whether it can be read in pieces at all
    };
    const std::string last = db("G-LAST", "BAW", "A320");
    const Case cases[] = {
        {"plain", with(many), true},
        {"no records", with(""), true},
        {"no section", DocumentText().xml(), false},
        {"no document", "", false},
        {"sections behind it", "<dbase>" + many + "</dbase>" + DocumentText().xml().substr(22), true},
        {"a second section", with(few) + "<dbase>" + last + "</dbase>", true},
        {"tag with a blank", "<dbase >" + few + "</dbase >" + DocumentText().xml(), false},
        {"section in a comment", "<!-- <dbase>" + last + "</dbase> -->" + with(few), false},
        {"section in a value", "<x y=\"<dbase>\"/>" + with(few), false},
        {"section deeper down", "<x><dbase>" + last + "</dbase></x>" + with(few), false},
        {"other element of that name first", "<dbase/>" + with(few), false},
        {"section within itself", with("<dbase>" + last + "</dbase>" + few), false},
        {"early end with a blank", with(few + "</dbase ><dbase>" + last), false},
        {"long comment with elements", with(few + "<!-- " + many + " -->" + last), true},
        {"long value with elements", with(few + "<x y='" + many + "'/>" + last), true},
        {"long hidden text", with(few + "<![CDATA[" + many + "]]>" + last), true},
        {"element with children", with(few + "<db reg=\"" + reg("G-KIDS") + "\">" + many + "</db>" + last), true},
        {"type of document in the middle", with(many + "<!DOCTYPE x>" + last), false},
        {"declaration in the middle", with(many + "<?xml version=\"1.0\"?>" + last), true},
        {"instruction in the middle", with(many + "<?do it?>" + last), true},
        {"words between", with("one " + many + " two " + last + "three"), true},
        {"zero in a record", with(few + std::string("<db a=\"\0\"/>", 11) + last), false},
        {"zero between sections", DocumentText().xml() + std::string(1, '\0') + "<dbase>" + few + "</dbase>", false},
        {"mark in front", "\xEF\xBB\xBF" + with(few), true},
        {"other encoding", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><n v=\"\xE4\"/>" + with(few).substr(22),
         false},
        {"cut short", with(many).substr(0, with(many).size() / 2), false},
        {"open element", with(many + "<x>" + last), false},
        {"broken tag", with(many + "<x y=>" + last), false},
        {"broken behind", with(many) + "<x", false},
        {"came again", with(many + many), true},
        {"plain airline", with(many + "<db reg=\"" + reg("G-PLAIN") + "\" airl=\"BAW\" opr=\"GEC\"/>" + last), true},
        {"broken value", with(few + "<db airl=\"BAW\"/><db airl=\"AB\"/>" + many + last), true},
        {"broken value and broken tag", with(few + "<db airl=\"AB\"/>" + many + "<x"), false},
        {"broken value and empty section", DocumentText().without("heavy").set("dbase", "<db airl=\"AB\"/>").xml(),
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string whole = told(folder, c.text, ParseAs::whole);
        for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{5000}, reference::usualPiece})
            EXPECT_EQ(told(folder, c.text, ParseAs::pieces, pieceSize), whole) << ", pieces of " << pieceSize;
        EXPECT_EQ(fitsPieces(c.text), c.pieces);
    }
    EXPECT_NE(told(folder, with(many), ParseAs::pieces).find("G-03999"), std::string::npos);
}

TEST(Roads, GiveTheSameForDamagedDocuments) {
    const ProgramFolder folder;
    const std::string good = DocumentText().set("dbase", manyRecords(1200)).xml();
    std::mt19937 random(17);
    const std::vector<std::string> inserts = {"<",    ">",   "/",    "\"", "<dbase>", "</dbase>",
                                              "<!--", "-->", "<db ", "/>", "<?",      "?>"};
    int failures = 0;
    for (int i = 0; i < 150; ++i) {
        std::string text = good;
        for (int changes = 1 + i % 3; changes > 0; --changes) {
            const std::size_t at = random() % text.size();
            switch (random() % 3) {
            case 0:
                text.insert(at, inserts[random() % inserts.size()]);
                break;
            case 1:
                text.erase(at, random() % 50);
                break;
            default:
                text[at] = static_cast<char>(' ' + random() % 95);
                break;
            }
        }
        const std::string whole = told(folder, text, ParseAs::whole);
        ASSERT_EQ(told(folder, text, ParseAs::pieces, 1u << i % 17), whole) << text.substr(0, 3000);
        failures += whole.starts_with("throws");
    }
    EXPECT_GT(failures, 40);
    EXPECT_LT(failures, 150);
}

} // namespace
} // namespace kes
