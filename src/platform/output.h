// SPDX-License-Identifier: MIT
// A file or terminal that takes text, written to without an endless wait.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace kes::platform {

/// One thread at a time.
class Output {
public:
    /// The streams that the process was started with. They are never closed here, nor is their mode changed: others
    /// share them.
    enum class Standard { out, error };

    Output() = default;
    explicit Output(Standard stream); ///< not open where the process has no such stream
    Output(Output&& other) noexcept;
    Output& operator=(Output&& other) noexcept;
    ~Output() { close(); }

    /// Creates or empties a file. A pipe that nobody reads is refused at once. False with a reason on failure.
    bool open(const std::filesystem::path& path, std::string& error);
    /// Takes over an open descriptor. Not on Windows.
    static Output own(int descriptor);
    void close(); ///< a standard stream is only let go
    bool isOpen() const { return handle_ >= 0; }

    struct Result {
        std::size_t bytes = 0; ///< of the text's beginning
        int error = 0;         ///< the system's number; 0 = good, or not ready within the time
    };
    /// Writes as much as goes at once, after at most `waitMs` milliseconds until anything goes. A pipe without a reader
    /// is an error, not a signal, once `surviveFailedWrites` was called.
    Result write(std::string_view text, int waitMs);

private:
    std::intptr_t handle_ = -1;
    bool owned_ = false;
    std::size_t mostAtOnce_ = 0; ///< bytes that an output that is ready takes without waiting
};

/// Whether somebody reads the stream as it comes, on a terminal.
bool isTerminal(Output::Standard stream);

/// Writes a small file anew, or over what stands there, without waiting for the disk, and never for the reader of a
/// pipe in its place. False with a reason on failure; the file may then be cut short. Any thread.
bool writeSmallFile(const std::filesystem::path& path, std::string_view content, std::string& error);

/// The text of an error number of `Output`.
std::string outputErrorText(int error);

/// Turns the signals by which some systems end a process that writes to a closed pipe, or beyond its file size, into
/// plain errors of the write. For the life of the process.
void surviveFailedWrites();

} // namespace kes::platform
