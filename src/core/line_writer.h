// SPDX-License-Identifier: MIT
// Lines on their way to a file or a terminal. A thread of its own writes them, so that an output that stands still (a
// terminal that is held, a full pipe, a stalled disk) never holds the thread that has something to say.
#pragma once

#include "platform/output.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace kes {

/// Lines keep their order. What does not fit into the queue, and what the system refuses to write, is counted and told
/// in one line as soon as writing works again.
class LineWriter {
public:
    /// The line about lines that are missing, with its line feed. `reason`: why the system refused them; empty when the
    /// queue was full.
    using MissingText = std::string (*)(std::uint64_t lines, const std::string& reason);

    struct Limits {
        std::size_t bytes; ///< that wait at most
        const char* threadName;
    };

    /// Throws system_error when there is no thread to be had.
    LineWriter(platform::Output output, const Limits& limits, MissingText missing);
    ~LineWriter(); ///< `close` with one second
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// Queues one line. Any thread; never waits for the output.
    void write(std::string_view lead, std::string_view text);
    /// Waits until all that was queued before is written or given up, at most `ms` milliseconds; false when that was
    /// too short.
    bool flush(int ms);
    /// `flush`, then the output is closed. What the output has not taken by then is lost, and the thread is left to
    /// itself if the system holds it. One thread.
    void close(int ms);
    /// Why the last write failed; empty while writing works.
    std::string trouble() const;
    /// Whether nothing waits. Takes no lock: for a handler of the process's last signal.
    bool idle() const noexcept;

private:
    struct Channel;
    std::shared_ptr<Channel> channel_; ///< shared with the thread, which may outlive this
    std::thread thread_;
};

} // namespace kes
