// SPDX-License-Identifier: MIT
// Keeps what the traffic source sent, one line a report, in a gzip file that kestrelune-replay and ./run --feed read: a
// report of a fault is one file.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// Begins a new file; one that is being written is finished first. False with a reason when it cannot be made. A thread
/// of its own writes, so that a slow disk holds no report: up to 8 MB wait, and what comes beyond is left out and
/// counted in the log. Every five seconds what was written so far can be read, also after a crash. The main thread.
bool startRecording(const std::filesystem::path& file, std::string& reason);
/// Writes what waits and closes the file. Logs how many lines it holds. The main thread; nothing while none is written.
void stopRecording();
bool isRecording(); ///< any thread

/// One datagram of the source. The reader's thread; a look at a flag while nothing is recorded.
void recordDatagram(std::string_view text);

} // namespace kes
