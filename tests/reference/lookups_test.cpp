// SPDX-License-Identifier: MIT
// Looking things up, beside slow and plain versions of the same.
#include "core/text.h"
#include "document_text.h"

#include <algorithm>
#include <random>
#include <regex>

namespace kes {
namespace {

using namespace test;

struct Lookups : ReferenceTest {};

TEST_F(Lookups, CategoriesInTheOrderOfTheirLists) {
    DocumentText()
        .set("large", "<lar types=\"" + models({"L1"}) + "\"/>")
        .set("heavy", "<hvy types=\"" + models({"L1", "H1"}) + "\"/>")
        .set("buzjet", "<bzj types=\"" + models({"L1", "H1", "B1"}) + "\"/>")
        .set("rotorcraft", "<rot types=\"" + models({"L1", "H1", "B1", "R1"}) + "\"/>")
        .set("high_performance", "<hpf types=\"" + models({"L1", "H1", "B1", "R1", "P1"}) + "\"/>")
        .set("wingspans", span("A320", "20"))
        .read();
    struct Case {
        const char* code;
        AircraftCategory category;
        int number;
    };
    for (const Case& c : {Case{"L1", AircraftCategory::large, 2}, Case{"H1", AircraftCategory::heavy, 3},
                          Case{"B1", AircraftCategory::buzjets, 1}, Case{"R1", AircraftCategory::rotorcraft, 5},
                          Case{"P1", AircraftCategory::highPerf, 4}, Case{"A320", AircraftCategory::light, 0},
                          Case{"", AircraftCategory::light, 0}, Case{"l1", AircraftCategory::light, 0}}) {
        EXPECT_EQ(categoryOf(c.code), c.category) << c.code;
        EXPECT_EQ(static_cast<int>(categoryOf(c.code)), c.number) << c.code;
    }
}

TEST_F(Lookups, Codes) {
    DocumentText().set("aircrafts", "<aircraft types=\"" + models({"A320"}) + ",\"/>").read();
    EXPECT_TRUE(modelExists("A320"));
    for (const char* code : {"", "a320", "A32", "A320X"})
        EXPECT_FALSE(modelExists(code)) << code;
    // Codes outside the usual form are found too, if someone lists them in plain letters.
    DocumentText().set("ICAO_airlines", "<ICAO codes=\"" + airline("KLM") + "," + airline("-Z9") + ",klm,\"/>").read();
    for (const char* code : {"KLM", "-Z9", "klm", ""})
        EXPECT_TRUE(airlineExists(code)) << code;
    for (const char* code : {"KL", "KLMX", "KLN", "Klm", "K M", "\xFF\xFF\xFF"})
        EXPECT_FALSE(airlineExists(code)) << code;
    DocumentText().read();
    EXPECT_FALSE(airlineExists(""));
    EXPECT_FALSE(airlineExists("-Z9"));
}

TEST_F(Lookups, FormsOfRegistrations) {
    using Forms = std::vector<std::string>;
    const std::pair<const char*, Forms> cases[] = {
        {"OYABC", {"OY-ABC", "O-YABC", "OYABC"}},
        {"GABCD", {"GA-BCD", "G-ABCD", "GABCD"}},
        {"N12AB", {"N12AB"}},
        {"OY-ABC", {"OY-ABC"}},
        {"ABCD", {"ABCD"}},
        {"", {""}},
        {"OYABC-", {"OYABC-"}},
        {"nabcd", {"na-bcd", "n-abcd", "nabcd"}},
    };
    for (const auto& [regcode, forms] : cases)
        EXPECT_EQ(regcodeVariants(regcode), forms) << regcode;
    // The first form that is known counts.
    DocumentText()
        .set("dbase", db("OYABC", "CCC", "A320") + db("O-YABC", "BBB", "A320") + db("OY-ABC", "AAA", "A320") +
                          db("O-YXYZ", "EEE", "A320") + db("OYXYZ", "FFF", "A320") + db("OYONE", "GGG", "A320") +
                          db("N-12AB", "HHH", "A320"))
        .read();
    for (const auto& [regcode, airl] :
         {std::pair{"OYABC", "AAA"}, {"OYXYZ", "EEE"}, {"OYONE", "GGG"}, {"O-YABC", "BBB"}})
        EXPECT_EQ(lookupRegcode(regcode)->airl, airl) << regcode;
    for (const char* regcode : {"N12AB", "OYTWO", "", "oyabc"})
        EXPECT_FALSE(lookupRegcode(regcode)) << regcode;
}

TEST_F(Lookups, ThousandsOfRegistrationsStayApart) {
    // Some come twice, all lengths from 1 to 24, and enough of them to let the table grow many times.
    std::mt19937 random(3);
    std::map<std::string, std::string> truth;
    std::string all;
    for (int i = 0; i < 20000; ++i) {
        std::string regcode(1 + random() % (i % 50 == 0 ? 24 : 4), ' ');
        for (char& c : regcode)
            c = static_cast<char>('A' + random() % 26);
        const std::string type = fmt::format("{:04}", i % 10000);
        truth.emplace(regcode, type);
        all += db(regcode, "KLM", type);
    }
    DocumentText().set("dbase", all).read();
    ASSERT_EQ(dbaseSize(), truth.size());
    ASSERT_LT(truth.size(), 19999u) << "none came twice";
    for (const auto& [regcode, type] : truth) {
        const auto record = reference::tables.dbaseRecords.find(regcode);
        ASSERT_TRUE(record) << regcode;
        EXPECT_EQ(std::string_view(record->type.data(), 4), type) << regcode;
        EXPECT_FALSE(reference::tables.dbaseRecords.find(regcode + "-"));
    }
}

// --- registrations in titles

/// Every registration in the order of the document, each looked for in the whole title.
std::string regcodeByWalk(const std::vector<std::pair<std::string, std::string>>& document, std::string_view title) {
    std::set<std::string> seen;
    for (const auto& [regcode, airl] : document)
        if (seen.insert(regcode).second && !regcode.empty() && regcode.size() <= 4 && airl == "PVT" &&
            title.find(regcode) != std::string_view::npos)
            return regcode;
    return {};
}

TEST_F(Lookups, RegistrationsInTitlesAsByAWalkOverAll) {
    std::mt19937 random(11);
    // Few letters, so that the texts often hold each other.
    const auto text = [&](std::size_t longest) {
        std::string out(random() % (longest + 1), ' ');
        for (char& c : out)
            c = random() % 20 == 0 ? "n\0\xC3"[random() % 3] : "AN1-+"[random() % 5];
        return out;
    };
    int hits = 0;
    for (int round = 0; round < 40; ++round) {
        std::vector<std::pair<std::string, std::string>> document;
        std::string all;
        for (int i = 0; i < 12; ++i) {
            document.emplace_back(text(5), random() % 2 ? "PVT" : "KLM");
            std::erase_if(document.back().first, [](char c) { return c < '+' || c > 'Z'; });
            all += db(document.back().first, document.back().second, "C172");
        }
        DocumentText().set("dbase", all).read();
        for (int i = 0; i < 60; ++i) {
            const std::string title = text(9), expected = regcodeByWalk(document, title);
            EXPECT_EQ(regcodeInTitle(title), expected) << title;
            hits += !expected.empty();
        }
    }
    EXPECT_GT(hits, 400);
    EXPECT_LT(hits, 2200);
    resetReference();
    EXPECT_EQ(regcodeInTitle("N1AB"), "");
}

// --- publishers

/// To the letter: each name as a piece of the text, and as an expression of the library.
std::string publisherByExpressions(std::string_view text) {
    const std::string whole(text);
    for (const auto& group : referenceData().publisherGroups) {
        for (const std::string& name : group)
            if (whole.find(name) != std::string::npos ||
                std::regex_match(whole, std::regex(".*" + name + ".*", std::regex::ECMAScript | std::regex::icase)))
                return group.front();
    }
    return "unknown";
}

/// What is found, or that it failed.
std::string outcome(const std::function<std::string(std::string_view)>& find, std::string_view text) {
    try {
        return find(text);
    } catch (const std::regex_error& e) {
        return fmt::format("fails with {}", static_cast<int>(e.code()));
    }
}

std::string publisherText(std::string_view text) {
    return std::string(publisherOf(text));
}

void setPublishers(const std::vector<std::string>& values) {
    std::string all;
    for (const std::string& value : values) {
        std::string name;
        for (const char c : escaped(value))
            name += c == '\n' ? "&#10;" : c == '\r' ? "&#13;" : std::string(1, c);
        all += "<pub names=\"" + name + "\"/>";
    }
    DocumentText().set("publishers", all).read();
}

TEST_F(Lookups, PublishersAsTheLibraryFindsThem) {
    const std::vector<std::vector<std::string>> sets = {
        {"orbx", "Aerosoft", "sim-wings,SIM", "a", "ab", "xy"},
        {"S.K.Y. Sim", "just.flight", ".", "z"},
        {"...", "a.c", "abc"},
        {"C++", "a+b", "x*y", "(c) Bob", "[ab]x", "q?r", "{2}", "one|two", "^top", "end$", "back\\d", "\\"},
        {"two\nlines", "cr\rlf", "b.d"},
        {"(open,zzz", "aaa"},
        {"\xC3\x84rger", "STRASSE", "m\xC3\xA9t\xC3\xA9o", "caf."},
        {"end$", "bob(by)?", "Bob", "[^x]y"},
        {"]x", "}y", "a]", "/slash/", "tab\tname"},
        {""},
        {"ab*cd", "xyz?w", "lo+ng", "(opt)?tail", "head(?:mid)*foot", "q*", "^start", "xa+*y", "v++w", "a?b?",
         "u(v|w)x"},
        {"(a)\\1", "\\bword\\b", "\\s\\s"},
        {"Zed,orbx", "Orbx,FTX", "fly tampa,FlyTampa", "ab"},
        {"Orbx,", "Aerosoft"}, // an empty name hits at once, but only when its turn comes
        {",Orbx"},
    };
    // One text between two bars.
    const std::string_view all =
        "|a|ORBX|oRbX and more|sim|Aerosoft Sim-Wings|line\nOrbx|line\norbx|orbx\r|\r\nORBX\r\n|S.K.Y. Sim|"
        "sXkYyZ SIM|s.k.y\nsim|just-flight|JUST\nFLIGHT|\n|ABC|a\nc|a.c|A.C\n|abc\n|C++|ccc|c|a+b|aab|AAB|"
        "x*y|xxy|y|(c) Bob|C BOB|[ab]x|ax|BX|q?r|r|one|x two|one x|top|x top|the end|end$|end x|back\\d|"
        "BACK7|back\n7|two\nlines|x TWO\nLINES x|x TWO\nLINES\n|cr\rlf|CR\rLF|b\rd|b.d\r|(open|nothing|zzz|"
        "AAA|aaa|\xC3\x84RGER|\xC3\xA4rger|stra\xC3\x9F"
        "e|strasse|M\xC3\xA9T\xC3\xA9O|caf\xC3\xA9|CAF\xFF|"
        "CAF|bobby|BOB|\ny|xy|zy|]X|}Y|A]|/SLASH/|TAB\tNAME|aa|a\\1|a word here|swords|ACD|abbcd|AB|cd|XYW|"
        "xyzw|zw|LONG|looong|lng|tail|OPTTAIL|headfoot|HEADMIDFOOT|head foot|start|x start|uvx|UX|B|XY|xaay|"
        "VVW|vw|two  blanks|two\n\nblanks|the FtX world|C:/flytampa-ams|zed and orbx|ZED|or bx|cAb";
    std::vector<std::string> texts;
    for (const std::string_view text : split(all, '|'))
        texts.emplace_back(text);
    texts.emplace_back("nul\0orbx", 8);
    texts.push_back(std::string(300, 'x') + "OrBx" + std::string(300, 'y'));
    std::size_t hits = 0, failures = 0;
    for (const auto& names : sets) {
        setPublishers(names);
        for (const std::string& text : texts) {
            const std::string expected = outcome(publisherByExpressions, text);
            EXPECT_EQ(outcome(publisherText, text), expected)
                << '"' << text << '"' << " with " << fmt::format("{}", names.front());
            hits += expected != "unknown";
            failures += expected.starts_with("fails");
        }
    }
    EXPECT_GT(hits, 200u);
    EXPECT_LT(hits, sets.size() * texts.size() * 2 / 3);
    EXPECT_GT(failures, 20u);
}

TEST_F(Lookups, LongTextsDoNoHarm) {
    setPublishers({"a+b", "x.z", "tail"});
    const std::string filler(1000000, 'y');
    EXPECT_EQ(publisherOf(filler + "a+b"), "a+b");
    EXPECT_EQ(publisherOf(filler + "aab"), "unknown"); // an expression is not tried on texts of this size
    EXPECT_EQ(publisherOf(filler + "XYZ"), "x.z");
    EXPECT_EQ(publisherOf(filler + "TAIL"), "tail");
    EXPECT_EQ(publisherOf(std::string(4000, 'y') + "AAB"), "a+b");
}

} // namespace
} // namespace kes
