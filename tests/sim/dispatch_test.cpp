// SPDX-License-Identifier: MIT
// What each message of a simulator brings about, and what none may: hand-made messages, as only a broken or hostile
// peer sends some of them.
#include "core/clock.h"
#include "sim/sim_test.h"
#include "thrown.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

namespace kes {
namespace {

using namespace simconnect;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

template <typename Message> void give(RecvId kind, Message message) {
    message.dwSize = sizeof message;
    message.dwID = static_cast<DWORD>(kind);
    dispatch(&message, sizeof message, nullptr);
}

/// An object data message with the bytes of `data` behind its head.
void giveData(RecvId kind, DWORD request, DWORD object, const void* data, std::size_t size) {
    std::vector<std::byte> bytes(sizeof(RecvSimObjectData) + size);
    RecvSimObjectData head{};
    head.dwSize = static_cast<DWORD>(bytes.size());
    head.dwID = static_cast<DWORD>(kind);
    head.dwRequestID = request;
    head.dwObjectID = object;
    std::memcpy(bytes.data(), &head, sizeof head);
    std::memcpy(bytes.data() + sizeof head, data, size);
    dispatch(reinterpret_cast<const Recv*>(bytes.data()), head.dwSize, nullptr);
}

void giveRange(DWORD object, double agl, double ground, std::int64_t onGround, std::string_view atcId,
               DWORD request = req::range) {
    struct {
        double agl, ground;
        std::int64_t onGround;
        char atcId[32];
    } data{agl, ground, onGround, {}};
    std::memcpy(data.atcId, atcId.data(), std::min<std::size_t>(atcId.size(), 32));
    giveData(RecvId::simObjectDataByType, request, object, &data, sizeof data);
}

void giveText(DWORD request, std::string_view text) {
    const std::string whole = std::string(text) + '\0';
    giveData(RecvId::simObjectData, request, 1, whole.data(), whole.size());
}

void giveUser(const UserAircraft& user, DWORD object = 1) {
    giveData(RecvId::simObjectData, req::userPosition, object, &user, sizeof user);
}

void giveObject(DWORD event, DWORD object, SimObjectType type = SimObjectType::aircraft) {
    RecvEventObjectAddRemove message{};
    message.uEventID = event;
    message.dwData = object;
    message.eObjType = static_cast<DWORD>(type);
    give(RecvId::eventObjectAddRemove, message);
}

void giveFlightLoaded() {
    RecvEvent loaded{};
    loaded.uEventID = 205;
    give(RecvId::event, loaded);
}

void giveException(DWORD number) {
    RecvException message{};
    message.dwException = number;
    give(RecvId::exception, message);
}

UserAircraft userAt(double lat, double lon) {
    UserAircraft user;
    user.lat = lat;
    user.lon = lon;
    user.alt = 1000;
    user.zuluYear = 2024;
    user.zuluDay = 1;
    return user;
}

struct DispatchTest : test::SimTest {
    void SetUp() override {
        SimTest::SetUp();
        setWallClockMs(1732500000000); // so that all lines of a flood fall into one window
    }
    void TearDown() override {
        SimTest::TearDown();
        setWallClockMs(-1);
    }
    static UserAircraft block() {
        simRequestFailed = true; // copies the block without asking for the next
        const UserAircraft user = readUserPosition();
        simRequestFailed = false;
        return user;
    }
};

TEST_F(DispatchTest, RangeReplies) {
    const struct {
        double agl, ground;
        std::int64_t onGround;
        const char* atcId;
        DWORD object, request;
        bool reported;
    } rows[] = {
        {2500, 90, 0, "DLH1", 7, req::range, true},
        {2500.5, 90, 0, "DLH1", 7, req::range, false},
        {-3, 90, 1, "DLH1", 7, req::range, true},
        {0, 90, -1, "DLH1", 7, req::range, true}, // true is 1 or -1
        {0, 90, 1, "", 7, req::range, false},
        {0, 90, 1, "DLH1*", 7, req::range, false},
        {0, 90, 1, "D*LH1", 7, req::range, true},
        {0, 90, 1, "12345678901234567890123456789012", 7, req::range, true}, // fills its field, no zero behind
        {0, 90, 1, "DLH1", 2, req::range, false},                            // the user's own
        {0, 90, 1, "DLH1", 7, req::staticData, false},
        {notANumber, 90, 1, "DLH1", 7, req::range, false},
        {0, notANumber, 1, "DLH1", 7, req::range, false},
        {0, infinite, 1, "DLH1", 7, req::range, false},
    };
    for (const auto& row : rows) {
        giveRange(row.object, row.agl, row.ground, row.onGround, row.atcId, row.request);
        const std::string ground = fmt::format("3 {} {:d} {} {}", row.object, row.onGround != 0, row.ground, row.agl);
        EXPECT_EQ(toldReplies(), row.reported ? ground : "") << ground << " of " << row.atcId;
    }
    EXPECT_EQ(program.logCount("! Range reply of object 7 is no number, ignored"), 3U);
    const double cut[2] = {1, 2}; // shorter than its definition
    giveData(RecvId::simObjectDataByType, req::range, 7, cut, sizeof cut);
    EXPECT_EQ(toldReplies(), "");
}

TEST_F(DispatchTest, StaticData) {
    for (const auto& [cg, pitch] : {std::pair{5.5, 0.25}, {notANumber, 0.0}, {1.0, infinite}}) {
        const double values[2] = {cg, pitch};
        giveData(RecvId::simObjectData, req::staticData, 7, values, sizeof values);
        EXPECT_EQ(toldReplies(), cg == 5.5 ? "4 7 0 5.5 0.25" : "") << cg << " " << pitch;
    }
}

TEST_F(DispatchTest, OnlyAircraftAreNotedAndOnlyOnce) {
    giveObject(202, 50, SimObjectType::ground);
    giveObject(203, 51, SimObjectType::boat);
    giveRange(50, 0, 90, 1, "CAR1"); // unknown as an added one: an ordinary reply
    EXPECT_EQ(toldReplies(), "3 50 1 90 0");
    for (const DWORD object : {52U, 2U}) // the second is the user's own
        giveObject(202, object);
    giveRange(52, 0, 90, 1, "OTHER\n");
    EXPECT_EQ(toldReplies(), "");
    EXPECT_TRUE(program.logHas("just spawned, but not by Kestrelune, oid: 52, callsign \"OTHER \", altaboveGnd:0 ft, "
                               "onground:1, gnd_alt:90 ft \n"));
    giveRange(52, 0, 90, 1, "OTHER");
    EXPECT_EQ(toldReplies(), "3 52 1 90 0") << "from now on one as any other";
    giveObject(202, 53);
    giveObject(203, 53);
    giveRange(53, 0, 90, 1, "OTHER");
    EXPECT_EQ(toldReplies(), "2 53 0 0 0, 3 53 1 90 0") << "an object that went before lends its number to nobody";
}

TEST_F(DispatchTest, ObjectsWithoutEndAreForgottenInTurn) {
    ObjectIds set;
    for (const std::uint32_t id : {1U, 2U, 3U})
        set.add(id);
    for (const std::uint32_t id : {1U, 3U}) // the last one takes the place of the first
        EXPECT_TRUE(set.erase(id));
    EXPECT_EQ(set.ids, std::vector<std::uint32_t>{2});

    for (std::uint32_t id = 10; id < 10 + 100000; ++id)
        giveObject(202, id);
    giveRange(11, 0, 90, 1, "GONE1");     // long forgotten
    giveRange(100009, 0, 90, 1, "LAST1"); // the last one is not
    EXPECT_EQ(takeReplies().size(), 1U);
    EXPECT_EQ(program.logCount("just spawned"), 0U) << "the first 500 lines of ten seconds are taken";
    EXPECT_EQ(program.logCount("! More than 4096 added objects are unknown"), LogLimiter::linesPerWindow);
    for (std::uint32_t id = 10; id < 10 + 100500; ++id) // more than a tick that stands still may leave waiting
        giveObject(203, id);
    EXPECT_EQ(takeReplies().size(), 100000U);
}

TEST_F(DispatchTest, ThePositionBlock) {
    UserAircraft user{48.0, 11.0, -0.1, 0.2, 1.5, 1000, 900, 250, 3600, 60, 2024, 5};
    giveUser(user);
    EXPECT_EQ(std::memcmp(&user, std::array{block()}.data(), sizeof user), 0);
    EXPECT_EQ(userObjectId, 1U);
    giveUser(user, 9);
    EXPECT_EQ(userObjectId, 9U) << "follows the reply";
    user.alt = -20;
    giveUser(user);
    EXPECT_EQ(block().alt, 0.0);
    for (int field = 0; field < 8; ++field)
        for (const double bad : {notANumber, infinite, -infinite}) {
            UserAircraft broken = userAt(48.1, 11.0);
            std::memcpy(reinterpret_cast<char*>(static_cast<void*>(&broken)) + field * 8, &bad, 8);
            giveUser(broken);
            EXPECT_EQ(block().lat, 48.0) << "field " << field << " of " << bad;
        }
    giveUser(userAt(91, 11));
    giveUser(userAt(48.1, 1e300));
    EXPECT_EQ(block().lat, 48.0);
    EXPECT_EQ(program.logCount("! Position of your aircraft makes no sense, ignored"), 26U);
    EXPECT_FALSE(exitRequested);
}

TEST_F(DispatchTest, ATeleportIsMoreThanTenMiles) {
    const struct {
        double from, to;
        bool teleport;
    } rows[] = {{48, 48.16, false}, {48, 48.17, true}, {0.0001, 48, false}, {48, 0.0001, false}};
    for (const auto& row : rows) {
        resetAll();
        giveUser(userAt(row.from, row.from < 1 ? 0.0001 : 11));
        giveUser(userAt(row.to, row.to < 1 ? 0.0001 : 11));
        EXPECT_EQ(exitRequested, row.teleport) << row.from << " to " << row.to;
        EXPECT_EQ(exitReason(), row.teleport ? ExitReason::newFlight : ExitReason::notYetSet);
        EXPECT_EQ(restartDelay(), row.teleport ? 45 : 0);
    }
}

TEST_F(DispatchTest, TheSimulatorsClock) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max(), untouched = 77;
    const struct {
        std::int64_t year, day, second, epoch;
    } rows[] = {
        {1970, 1, 0, 0},
        {2000, 60, 0, 951782400},  // 29 February
        {2000, 366, 1, 978220801}, // 31 December
        {2024, 366, 86399, 1735689599},
        {2100, 60, 0, 4107542400}, // 1 March: no leap year
        {most, 1, 0, untouched},
        {2024, most, 0, untouched},
        {2024, 367, 0, untouched},
        {2024, 1, most, untouched},
        {2024, 1, -1, untouched},
    };
    for (const auto& row : rows) {
        rtProfEdition = true;
        simEpoch = untouched;
        UserAircraft user = userAt(48, 11);
        user.zuluYear = row.year;
        user.zuluDay = row.day;
        user.zuluTime = row.second;
        giveUser(user);
        EXPECT_EQ(simEpoch, row.epoch) << row.year << ' ' << row.day << ' ' << row.second;
        rtProfEdition = false;
        simEpoch = untouched;
        giveUser(user);
        EXPECT_EQ(simEpoch, untouched) << "only for the edition that takes a time";
    }
}

TEST_F(DispatchTest, WhereTheUserIsAndStoodIsLeftForTheWorker) {
    const auto standing = [](double lat, double knots) {
        UserAircraft user = userAt(lat, 11);
        user.groundSpeed = knots;
        return user;
    };
    giveFlightLoaded();
    EXPECT_FALSE(takeUserMoves().stoodAt) << "nothing is known of the user";
    giveUser(standing(48.00, 0));
    giveUser(standing(48.01, 2));
    UserMoves moves = takeUserMoves();
    ASSERT_TRUE(moves.seenAt);
    EXPECT_EQ(moves.seenAt->lat, 48.01) << "the newest";
    EXPECT_FALSE(moves.stoodAt) << "the flight goes on";
    giveFlightLoaded();
    giveUser(standing(48.02, 2.1));
    give(RecvId::eventFilename, RecvEventFilename{});
    moves = takeUserMoves();
    ASSERT_TRUE(moves.stoodAt);
    EXPECT_EQ(moves.stoodAt->lat, 48.01) << "the place of the event, and who moves leaves none";
    EXPECT_EQ(moves.seenAt->lat, 48.02);
    moves = takeUserMoves();
    EXPECT_EQ(std::tuple(moves.seenAt.has_value(), moves.stoodAt.has_value()), std::tuple(false, false)) << "once each";
    giveUser(standing(48.03, 0));
    give(RecvId::eventFilename, RecvEventFilename{});
    resetSimClient();
    moves = takeUserMoves();
    EXPECT_EQ(std::tuple(moves.seenAt.has_value(), moves.stoodAt.has_value()), std::tuple(false, false)) << "of before";
}

TEST_F(DispatchTest, OnGroundRepliesCountOnceTheUserIsSomewhere) {
    const auto onGround = [](std::int64_t value) {
        giveData(RecvId::simObjectData, req::onGround, 1, &value, sizeof value);
    };
    onGround(1);
    EXPECT_TRUE(secondDue);
    EXPECT_EQ((std::tuple<bool, bool>(firstReplySeen, userOnGround)), std::tuple(false, false));
    giveUser(userAt(48, 11));
    for (const std::int64_t value : {1, 0, -1}) {
        secondDue = false;
        onGround(value);
        EXPECT_EQ((std::tuple<bool, bool>(secondDue, firstReplySeen)), std::tuple(true, true));
        EXPECT_EQ(userOnGround, value != 0);
    }
}

TEST_F(DispatchTest, EventsAndFrames) {
    RecvEvent sim{};
    sim.uEventID = 201;
    for (const DWORD value : {1U, 0U, 1U, 2U}) {
        sim.dwData = value;
        give(RecvId::event, sim);
        EXPECT_EQ(simRunning, value == 1);
    }
    simRunning = true;
    give(RecvId::quit, RecvQuit{});
    EXPECT_FALSE(simRunning);

    RecvEventFrame frame{};
    frame.fFrameRate = 42;
    for (int i = 1; i <= 30; ++i) {
        EXPECT_EQ(readouts.simFrameRate, 0.0F) << i;
        give(RecvId::eventFrame, frame);
    }
    EXPECT_EQ(readouts.simFrameRate, 42.0F);
    frame.fFrameRate = 50;
    give(RecvId::eventFrame, frame);
    EXPECT_EQ(readouts.simFrameRate, 42.0F) << "until 30 more have come";
    frame.fFrameRate = std::numeric_limits<float>::quiet_NaN();
    for (int i = 0; i < 29; ++i)
        give(RecvId::eventFrame, frame);
    EXPECT_EQ(readouts.simFrameRate, 42.0F);

    giveUser(userAt(48, 11));
    takeUserMoves();
    const auto expectNewFlight = [](const char* what) {
        EXPECT_TRUE(exitRequested) << what;
        EXPECT_EQ(exitReason(), ExitReason::newFlight);
        EXPECT_EQ(restartDelay(), 45);
        EXPECT_TRUE(takeUserMoves().stoodAt);
        resetRunFlags();
    };
    giveFlightLoaded();
    expectNewFlight("event");
    give(RecvId::eventFilename, RecvEventFilename{});
    expectNewFlight("file name");
    EXPECT_TRUE(program.logHas("Simconnect: flight loaded event\nSimConnect: New file event\n"));
}

TEST_F(DispatchTest, Exceptions) {
    const struct {
        DWORD number;
        const char* line;
        bool known, closing;
    } rows[] = {{3, "", false, false},
                {3, "===> SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID\n", true, false},
                {3, "", true, true},
                {19, "SIMCON EXCEP 19\n", false, false},
                {23, "===> Simconnect exception: load flight plan failed\n", false, false},
                {24, "SIMCON EXCEP 24\n", false, false},
                {22, "", false, false},
                {11, "", false, false},
                {7, "===> SIMCON EXCEP 7\n", false, false},
                {4000000000U, "===> SIMCON EXCEP 4000000000\n", false, false}};
    for (const auto& row : rows) {
        resetAll();
        if (row.known)
            giveUser(userAt(48, 11));
        userClosed = row.closing;
        const std::size_t before = program.logText().size();
        giveException(row.number);
        EXPECT_EQ(program.logText().substr(before), row.line) << row.number;
        EXPECT_EQ(statusText(), row.number == 11 ? "SimConnect: too many objects (max 1000)" : "");
    }
    RecvException mismatch{};
    mismatch.dwException = 5;
    mismatch.dwIndex = 4;
    EXPECT_EQ(test::thrownBy([&] { give(RecvId::exception, mismatch); }),
              "95: Simconnect Version Mismatch, dwindex: 4 ");
}

TEST_F(DispatchTest, WhoConnects) {
    const struct {
        const char* name;
        bool wants2020;
        const char* error; ///< empty = taken
        const char* shown;
    } rows[] = {
        {"KittyHawk", true, "", "MSFS 2020 (1.2.3.4)"},
        {"Kitty-Hawk\"", true, "", "MSFS 2020 (1.2.3.4)"},
        {"SunRise", false, "", "MSFS 2024"},
        {"SunRise", true, "71: MSFS 2024 is running ..., switch Sim or toggle the Install path checkbox of Kestrelune",
         ""},
        {"KittyHawk", false,
         "71: MSFS 2020 is running ..., switch Sim or toggle the Install path checkbox of Kestrelune", ""},
        {"Other\nSim", true, "77: \"Other Sim\" not being MSFS 2020 or MSFS 2024 connects ... ? ", ""},
        {"", true, "", ""},
    };
    for (const auto& row : rows) {
        resetAll();
        par::MSFS_2020.value = row.wants2020;
        showStatus("Waiting", false);
        RecvOpen open{};
        std::memcpy(open.szApplicationName, row.name, std::strlen(row.name));
        open.dwApplicationVersionMajor = 1;
        open.dwApplicationVersionMinor = 2;
        open.dwApplicationBuildMajor = 3;
        open.dwApplicationBuildMinor = 4;
        EXPECT_EQ(test::thrownBy([&] { give(RecvId::open, open); }), row.error);
        EXPECT_EQ(readoutText(Readout::simName), row.shown);
        EXPECT_EQ(readouts.simLight, *row.shown != 0);
        EXPECT_EQ(statusText().empty(), *row.shown != 0);
    }
}

TEST_F(DispatchTest, TextsCannotForgeLinesAndAreUtf8) {
    giveText(req::title, "Caf\xE9 Racer\nForged: line\x1B[2J");
    EXPECT_TRUE(program.logHas("          SimConnect: User aircraft title: Caf\xC3\xA9 Racer Forged: line?[2J\n"));
    EXPECT_EQ(readoutText(Readout::userTitle), "Caf\xC3\xA9 Racer Forged: line?[2J");
    std::string longTitle = "x"; // a quote of it is cut between characters
    for (int i = 0; i < 1000; ++i)
        longTitle += "\xC3\xA9";
    giveText(req::title, longTitle);
    EXPECT_TRUE(program.logHas(longTitle.substr(0, 399) + "...\n"));
    giveText(req::title, "Caf\xC3\xA9"); // UTF-8 as it stands
    EXPECT_EQ(readoutText(Readout::userTitle), "Caf\xC3\xA9");
    giveText(req::model, "X\xE9\r\nY");
    EXPECT_TRUE(program.logHas("          model raw: X\xC3\xA9  Y \n"));
    EXPECT_EQ(readoutText(Readout::userModel), "X\xC3\xA9  Y");
    giveObject(202, 60);
    giveRange(60, 0, 90, 1, "A\"B\xE9\nC");
    EXPECT_TRUE(program.logHas("oid: 60, callsign \"A\"B\xC3\xA9 C\", alt"));
}

/// However much of each kind comes, the log takes no more than all limiters together may write.
TEST_F(DispatchTest, AFloodOfAnyKindStaysSmall) {
    const std::string longText(60000, 'x');
    const std::pair<const char*, std::function<void(DWORD)>> kinds[] = {
        {"unknown message", [](DWORD i) { give(static_cast<RecvId>(1000 + i), Recv{}); }},
        {"exception", [](DWORD i) { giveException(100 + i); }},
        {"flight loaded", [](DWORD) { giveFlightLoaded(); }},
        {"file name", [](DWORD) { give(RecvId::eventFilename, RecvEventFilename{}); }},
        {"title", [&](DWORD) { giveText(req::title, longText); }},
        {"empty title", [](DWORD) { giveText(req::title, ""); }},
        {"model", [](DWORD) { giveText(req::model, "NONE SUCH MODEL AT ALL"); }},
        {"no model", [](DWORD) { giveText(req::model, ""); }},
        {"added object",
         [](DWORD i) {
             giveObject(202, 1000 + i);
             giveRange(1000 + i, 1e308, 1e308, 1, "FOREIGN");
         }},
        {"no number", [](DWORD i) { giveRange(1000 + i, notANumber, 0, 1, "FOREIGN"); }},
        {"teleport", [](DWORD i) { giveUser(userAt(i % 2 == 0 ? 10 : 50, 11)); }},
        {"no simulator name", [](DWORD) { give(RecvId::open, RecvOpen{}); }},
    };
    for (const auto& [kind, flood] : kinds) {
        resetAll();
        const std::size_t before = program.logText().size();
        for (DWORD i = 0; i < 1200; ++i)
            flood(i);
        const std::string lines = program.logText().substr(before);
        // One message may bring two lines.
        EXPECT_LE(static_cast<std::uint32_t>(std::count(lines.begin(), lines.end(), '\n')), LogLimiter::linesPerWindow)
            << kind;
        EXPECT_GT(lines.size(), 0U) << kind;
        simulatorLog.finish();
        EXPECT_TRUE(program.logText().find(" more messages about the simulator were left out", before) !=
                    std::string::npos)
            << kind;
    }
}

} // namespace
} // namespace kes
