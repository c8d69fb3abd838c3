// SPDX-License-Identifier: MIT
// Child processes of the runner: started with their output in a pipe, ended for certain. One thread. POSIX.
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kes::runner {

struct ChildSpec {
    std::string name; ///< in messages
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::filesystem::path directory; ///< current directory; empty = the runner's
    std::vector<std::pair<std::string, std::optional<std::string>>> environment; ///< set, or without a value removed
    std::filesystem::path outputFile; ///< gets all output lines; empty = none
    bool forward = false;             ///< prints its output as it comes
};

/// A started child. It leads a process group of its own, so that a Ctrl-C reaches the runner alone, and the system
/// kills it when the runner dies.
class Child {
public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child(); ///< kills what still runs
    /// False with a reason when the program cannot be started.
    bool start(const ChildSpec& spec, std::string& error);
    bool started() const { return pid_ > 0; }
    /// Reads what it has printed and notices its end. Waits at most `timeoutMs` for output.
    void pump(int timeoutMs);
    bool running() const { return pid_ > 0 && !exitCode_; }
    /// Code of a child that has ended: its own, or 128 + signal.
    std::optional<int> exitCode() const { return exitCode_; }
    void askToEnd(); ///< SIGTERM
    /// Waits for the end; a child that takes longer is killed with its group. True when it ended by itself.
    bool waitForEnd(int timeoutMs);
    /// Pumps until a line begins with `prefix`; what follows it, or nothing when the child ends or time is over.
    std::optional<std::string> waitForLine(std::string_view prefix, int timeoutMs);
    /// The last lines printed, for a message.
    std::string lastLines() const;
    const std::string& name() const { return spec_.name; }

private:
    void take(std::string_view bytes);
    void reap(bool block);
    ChildSpec spec_;
    int pid_ = 0, pipe_ = -1;
    std::optional<int> exitCode_;
    std::string partial_;
    std::vector<std::string> lines_; ///< the last ones
    std::ofstream output_;
};

} // namespace kes::runner
