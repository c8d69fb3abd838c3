// Objects and records that lost each other.
#include "harness.h"

namespace kes {
namespace {

using test::firstHex;

struct LostObjectTest : test::TrafficTest {};

TEST_F(LostObjectTest, ACreationThatIsNeverAnsweredIsGivenUp) {
    simAnswers = false;
    feedFlight(firstHex);
    ASSERT_TRUE(runUntil([&] { return !created.empty(); }));
    run(11000);
    ASSERT_EQ(liveAircraft.size(), 1U);
    ASSERT_TRUE(runUntil([] { return liveAircraft.empty(); }, 2000));
    EXPECT_TRUE(landingList.empty());
    EXPECT_TRUE(program.logHas("has not come into the simulator"));
    addSimReply(reply(ReplyKind::created, 500, firstHex));
    ASSERT_TRUE(runUntil([&] { return !removed.empty(); }, 20));
    EXPECT_EQ(removed, std::vector<std::uint32_t>{500}) << "it comes too late";
}

TEST_F(LostObjectTest, ObjectsThatNobodyWaitsForGo) {
    simAnswers = false;
    feedFlight(firstHex);
    addSimReply(reply(ReplyKind::created, 500, firstHex)); // of an earlier record with this address
    applySimReplies();
    EXPECT_EQ(liveAircraft.at(0).objectid, 0U);
    ASSERT_TRUE(runUntil([&] { return !created.empty(); }));
    addSimReply(reply(ReplyKind::created, 501, firstHex));
    addSimReply(reply(ReplyKind::created, 502, firstHex)); // of two that were asked for
    addSimReply(reply(ReplyKind::createdStatic, 503, 7));
    ASSERT_TRUE(runUntil([&] { return removed.size() == 3; }, 100));
    EXPECT_EQ(removed, (std::vector<std::uint32_t>{500, 502, 503}));
    EXPECT_EQ(liveAircraft.at(0).objectid, 501U);
    ASSERT_TRUE(runUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }, 250));
}

} // namespace
} // namespace kes
