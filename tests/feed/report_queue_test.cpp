// SPDX-License-Identifier: MIT
#include "feed_test.h"

namespace kes::test {
namespace {

struct ReportQueueTest : ::testing::Test {
    void SetUp() override {
        reportQueue.clear();
        reportQueue.setAccepting(true);
    }
    void TearDown() override { reportQueue.clear(); }
    static void push(std::uint32_t hexid, double timestamp = 0) {
        AircraftReport report;
        report.hexid = hexid;
        report.timestamp = timestamp;
        reportQueue.push(report);
    }
};

TEST_F(ReportQueueTest, KnownAircraftGoFirstAndNobodyStarves) {
    KnownAircraft known;
    for (const std::uint32_t hexid : {20001U, 20003U, 20000U, 20002U})
        known.shown.add(hexid);
    for (std::uint32_t hexid = 40000; hexid > 30000; --hexid) // more than there is room for
        known.expected.add(hexid);
    known.shown.sort();
    known.expected.sort();
    reportQueue.setKnown(known);
    AircraftReport newest;
    // Of the shown, the expected and the unknown 30 each, mixed.
    std::uint32_t number = 0;
    for (std::uint32_t i = 0; i < 30; ++i)
        for (const std::uint32_t hexid : {50000 + i, 40000 - 35 * i, 20000 + i % 4}) {
            push(hexid, ++number);
            ASSERT_TRUE(reportQueue.copyNewest(newest));
            ASSERT_EQ(newest.timestamp, number);
        }
    std::string order;
    double last[3] = {0, 0, 0};
    for (const AircraftReport& report : takeReports()) {
        const std::size_t lane = report.hexid < 30000 ? 0 : report.hexid <= 40000 ? 1 : 2;
        order += "seu"[lane];
        EXPECT_GT(report.timestamp, last[lane]) << "first-in first-out within a lane";
        last[lane] = report.timestamp;
    }
    EXPECT_EQ(order.substr(0, 31), "sssssssssuessssssssusesssssssus");
    EXPECT_EQ(order.size(), 90U);
    EXPECT_EQ(order.substr(order.size() - 20), std::string(20, 'u'));
    EXPECT_FALSE(reportQueue.copyNewest(newest));

    // A flood pushes out itself, and shown aircraft push out the flood.
    for (std::uint32_t i = 0; i < 100; ++i)
        push(20000 + i % 4);
    for (std::uint32_t i = 0; i < 2 * ReportQueue::capacity; ++i)
        push(60000 + i);
    EXPECT_EQ(reportQueue.size(), ReportQueue::capacity);
    EXPECT_EQ(reportQueue.dropped(), ReportQueue::capacity + 100);
    for (std::uint32_t i = 0; i < ReportQueue::capacity; ++i)
        push(20000);
    push(60000); // finds no place
    EXPECT_TRUE(reportQueue.copyNewest(newest));
    EXPECT_EQ(newest.hexid, 60000U);
    std::size_t shown = 0;
    for (const AircraftReport& report : takeReports())
        shown += report.hexid < 30000 ? 1 : 0;
    EXPECT_EQ(shown, ReportQueue::capacity);
    reportQueue.clear();
    push(50000);
    push(20000);
    EXPECT_EQ(takeReports().front().hexid, 50000U) << "a cleared queue knows nobody";
}

} // namespace
} // namespace kes::test
