#include "content_folder.h"
#include "core/geo.h"
#include "reference/csv.h"

namespace kes::test {
namespace {

TEST(Csv, NastyTexts) {
    struct Case {
        const char* name;
        std::string_view text;
        std::string_view rows; ///< columns b and a of each good row, as "[b|a]"
        std::size_t bad;
    };
    using namespace std::string_view_literals;
    const Case cases[] = {
        {"plain", "a,b\n1,2\n3,4\n", "[2|1][4|3]", 0},
        {"no line end at the end", "a,b\n1,2", "[2|1]", 0},
        {"crlf, mark and blank lines",
         "\xEF\xBB\xBF"
         "a,b\r\n\r\n1,2\r\n  \r\n3,4\r\n",
         "[2|1][4|3]", 0},
        {"head in any case, order and with more columns", "x,B, A \n0,2,1,9\n", "[2|1]", 0},
        {"blanks around fields", "a,b\n  1\t,  2 \n", "[2|1]", 0},
        {"quotes", "a,b\n\"x, \"\"y\"\"\",\" 2 \"\n", "[ 2 |x, \"y\"]", 0},
        {"quoted line end", "a,b\n\"x\ny\",2\n3,4\n", "[2|x\ny][4|3]", 0},
        {"text behind a quote", "a,b\n\"x\"y,2\n", "[2|xy]", 0},
        {"quote inside a field", "a,b\nx\"y,2\n", "[2|x\"y]", 0},
        {"open quote loses its line only", "a,b\n\"x,2\n3,4\n", "[4|3]", 1},
        {"too few fields", "a,b\n1\n3,4\n,\n", "[4|3][|]", 1},
        {"only a head", "a,b\n", "", 0},
        {"bytes that are no text", "a,b\n\xFF\xC3,\0x\n"sv, "[\0x|\xFF\xC3]"sv, 0},
    };
    for (const Case& c : cases) {
        std::string rows, problem;
        const auto count = readCsvText(
            c.text, {"b", "a"},
            [&](std::span<const std::string_view> f) {
                rows += "[" + std::string(f[0]) + "|" + std::string(f[1]) + "]";
                return true;
            },
            problem);
        ASSERT_TRUE(count) << c.name << ": " << problem;
        EXPECT_EQ(rows, c.rows) << c.name;
        EXPECT_EQ(count->bad, c.bad) << c.name;
    }
}

TEST(Csv, HeadLineDecides) {
    std::string problem;
    const auto take = [](std::span<const std::string_view>) { return true; };
    for (const char* text : {"", "\n\n", "a\n1\n", "\"a,b\n1,2\n"}) {
        EXPECT_FALSE(readCsvText(text, {"a", "b"}, take, problem)) << text;
        EXPECT_FALSE(problem.empty());
    }
    EXPECT_TRUE(readCsvText("a\n1\n", {"a", "?b"}, take, problem));
}

TEST(Csv, FieldRoundTrip) {
    for (const char* text : {"", "plain", "a,b", "say \"x\"", " blank ", "two\nlines", "\"", "tab\t"}) {
        std::string got, problem;
        ASSERT_TRUE(readCsvText(
            "a,b\n" + csvField(text) + ",1\n", {"a"},
            [&](std::span<const std::string_view> f) {
                got = f[0];
                return true;
            },
            problem));
        EXPECT_EQ(got, text);
    }
}

void writeLists(std::string_view types, std::string_view airlines, std::string_view registrations) {
    EmptyFolder::write("input/types.csv", types);
    EmptyFolder::write("input/airlines.csv", airlines);
    EmptyFolder::write("input/registrations.csv", registrations);
}

TEST(Reference, BadRowsAreCountedAndTheRestHolds) {
    EmptyFolder folder;
    writeLists("code,category,span_m\nA320,Large,34\nA320,Heavy,99\nB738,Large,36\nTOOLONG,Large,1\nQ,large,3\n"
               "R,Large,-3\nS,Large,nan\nT,Large,3m\nA388,Heavy,80\nNOSP,Large,\nC172,Light,11\n",
               "code,name\nDLH,Lufthansa\nDLH,Other\nBA,short\nBAW,\"British, Airways\"\n",
               "reg,airline,type,operator,cargo\nD-AIZA,DLH,A320,,\nD-AIZA,BAW,A320,,\nD-QQQQ,XXX,A320,,\n"
               "D-RRRR,DLH,A399,,\nG-ABCD,,B738,BAW,true\nDCARG,DLH,A388,,y\n,DLH,A320,,\n");
    EXPECT_TRUE(readDataBase());
    EXPECT_TRUE(folder.logHas("! 6 rows of \"input/types.csv\" skipped")) << folder.logText();
    EXPECT_TRUE(folder.logHas("! 2 rows of \"input/airlines.csv\" skipped"));
    EXPECT_TRUE(folder.logHas("! 4 rows of \"input/registrations.csv\" skipped"));

    EXPECT_EQ(categoryOf("A320"), AircraftCategory::large);
    EXPECT_EQ(categoryOf("a320"), AircraftCategory::light);
    EXPECT_FALSE(modelExists(""));
    EXPECT_EQ(airlineName("BAW"), "British, Airways");
    EXPECT_FALSE(airlineExists("BA"));
    const auto metres = [](std::string_view code) { return wingspanOf(code) * 2 * metresPerNm; };
    EXPECT_NEAR(metres("A320"), 34, 1e-9);
    EXPECT_NEAR(metres("NOSP"), 35, 1e-3) << "the mean of A320 and B738";
    EXPECT_NEAR(metres("????"), 11, 1e-3) << "unknown codes are Light";
    EXPECT_NEAR(maxWingspan() * 2 * metresPerNm, 80, 1e-9);

    const auto record = lookupRegcode("G-ABCD");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->airl, "");
    EXPECT_EQ(record->opr, "BAW");
    EXPECT_TRUE(record->cargo);
    EXPECT_EQ(lookupRegcode("D-AIZA")->airl, "DLH");
    EXPECT_FALSE(lookupRegcode("D-AIZA")->cargo);
}

TEST(Reference, MissingListFailsButReadsTheOthers) {
    EmptyFolder folder;
    writeLists("code,category,span_m\nA320,Large,34\n", "code,name\nDLH,Lufthansa\n",
               "reg,airline,type,operator,cargo\nD-AIZA,DLH,A320,,\n");
    ASSERT_TRUE(readDataBase());
    std::filesystem::remove("input/airlines.csv");
    EXPECT_FALSE(readDataBase());
    EXPECT_TRUE(folder.logHas("input/airlines.csv not found"));
    EXPECT_FALSE(airlineExists("DLH")) << "a second reading begins anew";
    EXPECT_TRUE(modelExists("A320"));
}

TEST(Reference, FormsOfRegistrations) {
    const std::pair<const char*, std::vector<std::string>> forms[] = {
        {"OYABC", {"OY-ABC", "O-YABC", "OYABC"}},
        {"GEUUY", {"GE-UUY", "G-EUUY", "GEUUY"}},
        {"OY-ABC", {"OY-ABC"}},
        {"N123AA", {"N123AA"}},
        {"OYAB", {"OYAB"}},
        {"", {""}},
    };
    for (const auto& [regcode, wanted] : forms) {
        EXPECT_EQ(regcodeVariants(regcode), wanted) << regcode;
    }
    EmptyFolder folder;
    writeLists("code,category,span_m\nA320,Large,34\nB738,Large,36\n", "code,name\nDLH,Lufthansa\n",
               "reg,airline,type,operator,cargo\nG-EUUY,,A320,,\nGE-UUY,,B738,,\nD-AIZA,DLH,A320,,\n");
    ASSERT_TRUE(readDataBase());
    EXPECT_EQ(lookupRegcode("GEUUY")->type, "B738") << "two letters before the dash come first";
    EXPECT_EQ(lookupRegcode("DAIZA")->airl, "DLH");
    EXPECT_FALSE(lookupRegcode("D-AIZB"));
}

} // namespace
} // namespace kes::test
