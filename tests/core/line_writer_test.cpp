// SPDX-License-Identifier: MIT
// Lines for outputs that stand still, fill up or go.
#include "core/line_writer.h"
#include "full_disk.h"
#include "platform/output.h"
#include "platform/system.h"
#include "support.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>

namespace kes {
namespace {

using std::chrono::steady_clock;

double since(steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(steady_clock::now() - start).count();
}

std::string missing(std::uint64_t lines, const std::string& reason) {
    return "<" + std::to_string(lines) + " " + reason + ">\n";
}

/// A pipe that the test reads when it likes.
struct PipeTest : testing::Test {
    int readEnd = -1, writeEnd = -1;

    void SetUp() override {
        platform::surviveFailedWrites();
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        readEnd = ends[0];
        writeEnd = ends[1];
        fcntl(readEnd, F_SETFL, O_NONBLOCK);
    }
    void TearDown() override { closeReader(); }
    void closeReader() {
        if (readEnd >= 0)
            ::close(readEnd);
        readEnd = -1;
    }
    std::string readAll() const {
        std::string all;
        char buffer[65536];
        for (ssize_t n = 0; (n = ::read(readEnd, buffer, sizeof buffer)) > 0;)
            all.append(buffer, static_cast<std::size_t>(n));
        return all;
    }
    platform::Output output() const { return platform::Output::own(writeEnd); }
};

TEST_F(PipeTest, AReaderThatSleepsHoldsNobodyAndIsToldWhatItMissed) {
    fcntl(writeEnd, F_SETFL, O_NONBLOCK);
    while (::write(writeEnd, "full\n", 5) > 0) {
    }
    fcntl(writeEnd, F_SETFL, 0);
    LineWriter writer(output(), {20000, "test"}, missing);
    const auto start = steady_clock::now();
    for (int i = 0; i < 10000; ++i) // of many lengths, so that a short one would fit where a long one did not
        writer.write("line ", std::to_string(i) + std::string(static_cast<std::size_t>(i % 7) * 9, '.'));
    EXPECT_FALSE(writer.flush(50)) << "the pipe is full";
    EXPECT_FALSE(writer.idle());
    EXPECT_LT(since(start), 2000);

    std::string seen;
    ASSERT_TRUE(test::waitFor([&] {
        seen += readAll();
        return writer.idle();
    }));
    seen += readAll();
    // Lines and notes follow each other in the order of the calls, and leave nothing open.
    int next = 0;
    int missed = 0;
    std::istringstream lines(seen);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("<")) {
            next += std::stoi(line.substr(1));
            ++missed;
        } else if (line != "full") {
            ASSERT_EQ(std::stoi(line.substr(5)), next) << line;
            ++next;
        }
    }
    EXPECT_EQ(next, 10000);
    EXPECT_GE(missed, 1);
    EXPECT_LT(seen.size(), 200000u) << "the pipe and some queues of 20,000 bytes";

    writer.write("", "reads again");
    EXPECT_TRUE(writer.flush(10000));
    EXPECT_TRUE(writer.idle());
    EXPECT_EQ(readAll(), "reads again\n");
    EXPECT_EQ(writer.trouble(), "");
}

TEST_F(PipeTest, ClosingWritesWhatWaitsButNeverWaitsForLong) {
    {
        LineWriter writer(output(), {100000, "test"}, missing);
        writer.write("", "last words");
    }
    EXPECT_EQ(readAll(), "last words\n");
    char one = 0;
    ASSERT_TRUE(test::waitFor([&] { return ::read(readEnd, &one, 1) == 0; })) << "closed";
    closeReader();

    SetUp();
    const std::size_t threads = platform::threadCount();
    const auto start = steady_clock::now();
    {
        LineWriter writer(output(), {1000000, "test"}, missing);
        writer.write("", std::string(500000, 'x'));
        writer.close(100);
        EXPECT_GE(since(start), 90);
        EXPECT_LT(since(start), 800) << "not the second of the destructor";
        writer.write("", "too late");
    }
    EXPECT_TRUE(test::waitFor([&] { return platform::threadCount() == threads; })) << "the thread goes as well";
    EXPECT_EQ(readAll().find("too late"), std::string::npos);
}

TEST_F(PipeTest, AReaderThatGoesIsAnErrorAndNoSignal) {
    LineWriter writer(output(), {1000, "test"}, missing);
    closeReader();
    writer.write("", "to nobody");
    EXPECT_TRUE(writer.flush(10000)) << "given up";
    EXPECT_EQ(writer.trouble(), platform::outputErrorText(EPIPE));
}

TEST(LineWriterFile, AFullDiskCostsItsLinesAndSaysHowManyOnce) {
    const test::ProgramFolder folder;
    platform::surviveFailedWrites();
    platform::Output file;
    std::string error;
    ASSERT_TRUE(file.open("out.txt", error)) << error;
    LineWriter writer(std::move(file), {100000, "test"}, missing);
    std::optional<test::FullDisk> full(25);
    for (int i = 0; i < 5; ++i) // the second line breaks off, the others do not come at all
        writer.write("", "fifteen letters");
    EXPECT_TRUE(writer.flush(10000));
    EXPECT_EQ(writer.trouble(), platform::outputErrorText(EFBIG));
    for (int i = 0; i < 3; ++i) { // each tries again
        writer.write("", "still none");
        EXPECT_TRUE(writer.flush(10000));
    }
    full.reset();
    writer.write("", "room again");
    EXPECT_TRUE(writer.flush(10000));
    EXPECT_EQ(writer.trouble(), "");
    writer.write("", "and more");
    writer.close(10000);
    EXPECT_EQ(test::readFile("out.txt"),
              "fifteen letters\nfifteen l\n<7 " + platform::outputErrorText(EFBIG) + ">\nroom again\nand more\n");
}

} // namespace
} // namespace kes
