// SPDX-License-Identifier: MIT
#include "core/line_writer.h"

#include "platform/system.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace kes {

namespace {

/// How often a thread that waits for its output looks whether it has been given up.
constexpr int lookMs = 50;

std::uint64_t lineCount(std::string_view text) {
    return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

struct LineWriter::Channel {
    platform::Output output;
    std::size_t limit = 0;
    MissingText missing = nullptr;

    mutable std::mutex mutex; // guards the block below
    std::condition_variable wake, done;
    std::string waiting;
    std::uint64_t leftOut = 0; ///< lines that came behind `waiting` and did not fit
    std::string failure;
    bool closing = false, ended = false;

    std::atomic<std::uint64_t> queued{0}, handled{0}; ///< calls of `write` that wait, or once waited
    std::atomic<bool> givenUp{false};

    // The thread's own.
    std::string text; ///< being written
    std::uint64_t lost = 0;
    std::string lostReason;
    bool insideLine = false; ///< the output ends in a part of a line

    void run();
    std::size_t put(std::string_view bytes);
    void putLines(std::string_view lines);
    void noteFailure(const std::string& reason);
};

/// Writes all of it, or up to the first failure. Returns the bytes written; `failure` tells whether it was all.
std::size_t LineWriter::Channel::put(std::string_view bytes) {
    std::size_t at = 0;
    while (at < bytes.size() && !givenUp) {
        const platform::Output::Result result = output.write(bytes.substr(at), lookMs);
        if (result.error != 0) {
            noteFailure(platform::outputErrorText(result.error));
            break;
        }
        at += result.bytes;
    }
    if (at > 0)
        insideLine = bytes[at - 1] != '\n';
    if (at == bytes.size() && !bytes.empty())
        noteFailure({});
    return at;
}

void LineWriter::Channel::noteFailure(const std::string& reason) {
    const std::lock_guard lock(mutex);
    failure = reason;
    if (!reason.empty())
        lostReason = reason;
}

void LineWriter::Channel::putLines(std::string_view lines) {
    if (lost > 0) {
        const std::string note = (insideLine ? "\n" : "") + missing(lost, lostReason);
        if (put(note) < note.size()) {
            lost += lineCount(lines);
            return;
        }
        lost = 0;
    }
    const std::size_t written = put(lines);
    // A line of which only a part came out is lost as well.
    if (written < lines.size())
        lost += lineCount(lines) - lineCount(lines.substr(0, written));
}

void LineWriter::Channel::run() {
    std::unique_lock lock(mutex);
    for (;;) {
        wake.wait(lock, [&] { return !waiting.empty() || closing; });
        if (waiting.empty())
            break;
        text.clear();
        text.swap(waiting);
        const std::uint64_t handledThen = queued;
        const std::uint64_t behind = std::exchange(leftOut, 0);
        lock.unlock();
        if (behind > 0)
            text += missing(behind, {});
        putLines(text);
        lock.lock();
        handled = handledThen;
        done.notify_all();
    }
    lock.unlock();
    // The disk may have room again.
    if (lost > 0)
        putLines({});
    output.close();
    lock.lock();
    ended = true;
    done.notify_all();
}

LineWriter::LineWriter(platform::Output output, const Limits& limits, MissingText missing)
    : channel_(std::make_shared<Channel>()) {
    channel_->output = std::move(output);
    channel_->limit = limits.bytes;
    channel_->missing = missing;
    // Both halves keep their size, so that a line of a steady flight allocates nothing.
    channel_->waiting.reserve(limits.bytes);
    channel_->text.reserve(limits.bytes);
    thread_ = std::thread([channel = channel_, name = limits.threadName] {
        platform::nameThread(name);
        channel->run();
    });
}

LineWriter::~LineWriter() {
    close(1000);
}

void LineWriter::write(std::string_view lead, std::string_view text) {
    Channel& c = *channel_;
    {
        const std::lock_guard lock(c.mutex);
        if (c.closing)
            return;
        // Once one line is missing, those behind it wait for the line that tells so.
        if (c.leftOut > 0 || c.waiting.size() + lead.size() + text.size() + 1 > c.limit) {
            ++c.leftOut;
            return;
        }
        c.waiting += lead;
        c.waiting += text;
        c.waiting += '\n';
        ++c.queued;
    }
    c.wake.notify_one();
}

bool LineWriter::flush(int ms) {
    Channel& c = *channel_;
    std::unique_lock lock(c.mutex);
    const std::uint64_t target = c.queued;
    return c.done.wait_for(lock, std::chrono::milliseconds(ms), [&] { return c.handled >= target; });
}

void LineWriter::close(int ms) {
    if (!thread_.joinable())
        return;
    Channel& c = *channel_;
    std::unique_lock lock(c.mutex);
    c.closing = true;
    c.wake.notify_one();
    const bool ended = c.done.wait_for(lock, std::chrono::milliseconds(ms), [&] { return c.ended; });
    c.givenUp = true;
    lock.unlock();
    if (ended)
        thread_.join();
    else
        thread_.detach();
}

std::string LineWriter::trouble() const {
    const std::lock_guard lock(channel_->mutex);
    return channel_->failure;
}

bool LineWriter::idle() const noexcept {
    return channel_->handled == channel_->queued;
}

} // namespace kes
