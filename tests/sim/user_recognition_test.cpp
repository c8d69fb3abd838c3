// SPDX-License-Identifier: MIT
// What the client makes of title and model, told by the simulator model through the real packets.
#include "core/errors.h"
#include "reference_text.h"
#include "sim/sim_test.h"
#include "sim/user_recognition.h"
#include "thrown.h"
#include "window_backend.h"

namespace kes {
namespace {

using test::waitFor;
using enum AircraftCategory;

constexpr const char* spanUnknown = "User aircraft wing span unknown, max is taken instead, please report in my Forum!";
constexpr const char* encrypted =
    "171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead";

/// Full spans in metres. B789 has none, so it takes the mean of the heavy types; nothing light has one but C172.
const std::map<std::string, double> spans{{"A319", 34.1}, {"A320", 34.1}, {"A321", 35.8}, {"B736", 34.3},
                                          {"B737", 34.3}, {"B738", 35.8}, {"B739", 35.8}, {"B38M", 35.9},
                                          {"CRJ7", 23.2}, {"E190", 28.7}, {"A332", 60.3}, {"A359", 64.8},
                                          {"A388", 79.8}, {"772", 60.9},  {"C172", 11.0}};

void readSpans() {
    test::ReferenceText text;
    text.types[large] = {"A319", "A320", "A321", "B736", "B737", "B738", "B739", "B38M", "CRJ7", "E190"};
    text.types[heavy] = {"A332", "A359", "A388", "772", "B789"};
    text.otherTypes = {"C172"};
    text.metres = spans;
    text.read();
}

struct UserRecognitionTest : test::SimTest {
    void SetUp() override {
        SimTest::SetUp();
        readSpans();
    }
    void TearDown() override {
        SimTest::TearDown();
        resetReference();
    }
    static void connect() { startClient(20); }
    /// Lets the user's aircraft have these texts, asks for them as a run does, and waits until they have been taken.
    void recognise(std::string_view title, std::string_view model) {
        ASSERT_EQ(world::inprocCommand(fmt::format("user-title {}", title)), "ok");
        ASSERT_EQ(world::inprocCommand(fmt::format("user-model {}", model)), "ok");
        seen = program.logText().size();
        requestUserRecognition();
        ASSERT_TRUE(waitFor([] { return userSpanKnown.load(); })) << title << ", " << model;
    }
    std::string newLog() const { return program.logText().substr(seen); }
    std::size_t seen = 0;
};

TEST_F(UserRecognitionTest, TitleAndModelGiveTypeSpanAndCategory) {
    connect();
    const double max = 79.8;
    const double meanHeavy = (60.3 + 64.8 + 79.8 + 60.9) / 4;
    struct Case {
        const char *title, *model, *shown;
        double metres;
        AircraftCategory category;
        const char* told = nullptr;    ///< on the status line
        const char* deduced = nullptr; ///< a type from the title
    };
    for (const Case& c : {
             Case{"Some A320", "A320", "A320", 34.1, large},
             // whole texts that stand for another
             {"x", "A350-900", "A359", 64.8, heavy},
             {"x", "N738B", "B38M", 35.9, large},
             {"x", "777", "772", 60.9, heavy},
             {"x", "A330-200 (RR)", "A332", 60.3, heavy},
             {"x", "A350-900 ", "A359", 64.8, heavy}, // the command strips the blank
             {"x", "A350-900X", "A350-900X", max, light, spanUnknown},
             // a resource's name
             {"x", "TT:ATCCOM.AC_MODEL_B738.0.text", "B738", 35.8, large},
             {"x", "ATCCOM.AC_MODEL_772.0.text", "772", 60.9, heavy},
             {"x", "$$:B738.0.text", "B738", 35.8, large},
             {"x", "B738.0.text.A320.0.text", "B738", 35.8, large},
             {"x", "772.0.text", "772", 60.9, heavy},
             {"x", "AC_MODEL_B789.0.text", "B789", meanHeavy, heavy},
             {"x", "AC_MODEL_ZZZZ.0.text", "AC_MODEL_ZZZZ.0.text", max, light, spanUnknown},
             {"x", "2.0.text", "2.0.text", max, light, spanUnknown},
             {"x", ".0.text", ".0.text", max, light, spanUnknown},
             {"Aerosoft A320 CFM", "AC_MODEL_ZZZZ.0.text", "AC_MODEL_ZZZZ.0.text", 34.1, large, nullptr, "A320"},
             // a mark in front
             {"x", "$$:A320", "A320", 34.1, large},
             {"x", "$$:772", "772", 60.9, heavy},
             {"x", "$$:ZZ", "ZZ", 11.0, light},
             {"x", "$$:Z", "$$:Z", 11.0, light}, // too short for the mark, and short enough for a type
             // a bare number, told by the title
             {"DG 737-800 Lufthansa", "737", "B738", 35.8, large},
             {"My DG 737-700", "737", "B737", 34.3, large},
             {"DG 737-600", "737", "B736", 34.3, large},
             {"DG 737-900", "737", "B739", 35.8, large},
             {"DG737-800", "737", "737", 11.0, light},
             {"DG 737-800", "$$:737", "737", 11.0, light}, // only the whole text
             // longer texts are no types, but titles may help
             {"x", "Airbus A320", "Airbus A320", max, light, spanUnknown},
             {"Aerosoft A319 IAE", "AIRBUS", "AIRBUS", 34.1, large, nullptr, "A319"},
             {"Aerosoft A321", "AIRBUS", "AIRBUS", 35.8, large, nullptr, "A321"},
             {"The Aerosoft A321", "AIRBUS", "AIRBUS", max, light, spanUnknown},
             {"Aerosoft A319", "B738", "B738", 35.8, large},
             // the largest type of all looks like an unknown one
             {"x", "A388", "A388", max, heavy, spanUnknown},
         }) {
        SCOPED_TRACE(fmt::format("title \"{}\" model \"{}\"", c.title, c.model));
        resetUserAircraft();
        resetUserRecognition();
        resetWindow();
        resetStatus();
        ASSERT_NO_FATAL_FAILURE(recognise(c.title, c.model));
        EXPECT_EQ(readoutText(Readout::userModel), c.shown);
        EXPECT_EQ(readoutText(Readout::userTitle), c.title);
        EXPECT_NEAR(userSpan * 1852 * 2, c.metres, 0.001);
        EXPECT_EQ(userCategory, c.category);
        EXPECT_TRUE(readouts.spanMark);
        EXPECT_EQ(statusText(), c.told == nullptr ? "" : c.told);
        const std::string blanks(10, ' ');
        std::string raw = c.model;
        while (raw.ends_with(' '))
            raw.pop_back();
        std::string log =
            blanks + "SimConnect: User aircraft title: " + c.title + "\n" + blanks + "model raw: " + raw + " \n";
        const std::string shown = blanks + "SimConnect: User aircraft model: " + c.shown;
        if (c.deduced != nullptr)
            log += shown + "\n" + blanks + "SimConnect: User aircraft model deduced from title: " + c.deduced;
        else
            log += (c.told == nullptr ? std::string() : std::string(c.told) + "\n") + shown;
        log += fmt::format(", half wing span: {:.1f} meter, category: {}\n", c.metres / 2, text(c.category));
        EXPECT_EQ(newLog(), log);
    }
}

TEST_F(UserRecognitionTest, WithoutAModelTheUserFliesACrj7) {
    connect();
    ASSERT_NO_FATAL_FAILURE(recognise("", ""));
    EXPECT_EQ(readoutText(Readout::userModel), "Unknown (encrypted?) aircraft");
    EXPECT_EQ(statusText(), encrypted);
    EXPECT_NEAR(userSpan * 1852 * 2, 23.2, 0.001);
    EXPECT_FALSE(readouts.spanMark);
    EXPECT_EQ(newLog(), "          SimConnect: User aircraft title: \n! title of your ac is empty?\n" +
                            std::string(encrypted) + "\n");
}

TEST_F(UserRecognitionTest, ACameraIsNoAircraftAndKeepsTheCategory) {
    connect();
    ASSERT_NO_FATAL_FAILURE(recognise("x", "A332"));
    for (const char* model : {"my camerapod", "Crew Vessel 2", "$$:camerapod"}) {
        userSpanKnown = false;
        readouts.spanMark = false;
        ASSERT_NO_FATAL_FAILURE(recognise("x", model));
        EXPECT_NEAR(userSpan * 1852 * 2, 28.7, 0.001) << model;
        EXPECT_EQ(userCategory, heavy);
        EXPECT_EQ(statusText(), "") << model;
        const std::string shown = std::string_view(model).starts_with("$$:") ? model + 3 : model;
        EXPECT_EQ(readoutText(Readout::userModel), shown);
        EXPECT_TRUE(newLog().ends_with("SimConnect: User aircraft model: " + shown + "\n")) << newLog();
    }
}

TEST_F(UserRecognitionTest, WithoutADataBaseNoSpanIsKnown) {
    resetReference();
    onUserTitle("x");
    onUserModel("A320");
    EXPECT_FALSE(userSpanKnown);
    EXPECT_FALSE(readouts.spanMark);
    EXPECT_TRUE(program.logText().ends_with("SimConnect: User aircraft model: A320, category: Light\n"));
    EXPECT_EQ(statusText(), spanUnknown);
}

TEST_F(UserRecognitionTest, TitlesAreCutBetweenCharactersAndDecideWhole) {
    const test::TestWindow window;
    const std::string x47(47, 'x');
    std::string umlauts;
    for (int i = 0; i < 60; ++i)
        umlauts += "\xC3\xBC";
    struct Case {
        std::string title, shown, logged = title;
    };
    for (const Case& c : std::vector<Case>{
             {x47, x47},
             {x47 + "y", x47 + "y"},
             {x47 + "yz", x47 + "y"},
             {x47 + "\xC3\xBCz", x47 + "\xC3\xBC"},
             {x47 + "\xF0\x9F\x9B\xA9z", x47 + "\xF0\x9F\x9B\xA9"},
             {umlauts, umlauts.substr(0, 96)},
             {x47 + "\xFCyz", x47 + "\xC3\xBC", x47 + "\xC3\xBCyz"}, // no UTF-8
             {x47 + "\xBCyz", x47 + "\xC2\xBC", x47 + "\xC2\xBCyz"},
         }) {
        onUserTitle(c.title);
        EXPECT_EQ(readoutText(Readout::userTitle), c.shown) << c.title;
        EXPECT_TRUE(program.logText().ends_with("title: " + c.logged + "\n")) << "whole in the log";
    }
    onUserTitle("short");
    const int before = window.shown().repaints;
    onUserTitle("short");
    EXPECT_EQ(window.shown().repaints, before) << "the same title is not shown again";

    onUserTitle(x47 + " DG 737-800");
    onUserModel("737");
    EXPECT_EQ(readoutText(Readout::userModel), "B738");
    // A new run knows nothing of the last one's title.
    resetSimClient();
    onUserModel("737");
    EXPECT_EQ(readoutText(Readout::userModel), "737");
}

TEST_F(UserRecognitionTest, FailuresOfTheModelReplyAreForTheUser) {
    test::TestWindow window;
    const auto failure = [] { return test::thrownBy([] { onUserModel("A320"); }); };
    window.onRepaint = [] { throw std::runtime_error("no window"); };
    EXPECT_EQ(failure(), "73: It looks like you have not selected an aircraft as user vehicle");
    window.onRepaint = [] { throw nwk::UserErrorException(5, "own words"); };
    EXPECT_EQ(failure(), "5: own words");
}

} // namespace
} // namespace kes
