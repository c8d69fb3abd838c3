// SPDX-License-Identifier: MIT
#include "world/runner/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace kes::runner {

namespace {

constexpr std::size_t linesKept = 40;

using Clock = std::chrono::steady_clock;

int leftMs(Clock::time_point end) {
    return static_cast<int>(
        std::max<std::int64_t>(0, std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count()));
}

std::vector<std::string> environmentOf(const ChildSpec& spec) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view text = *entry;
        const std::string_view name = text.substr(0, text.find('='));
        if (std::none_of(spec.environment.begin(), spec.environment.end(),
                         [&](const auto& e) { return e.first == name; })) {
            all.emplace_back(text);
        }
    }
    for (const auto& [name, value] : spec.environment) {
        if (value) {
            all.push_back(name + "=" + *value);
        }
    }
    return all;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& t : texts) {
        all.push_back(t.data());
    }
    all.push_back(nullptr);
    return all;
}

} // namespace

Child::~Child() {
    if (running()) {
        ::kill(-pid_, SIGKILL);
        reap(true);
    }
    if (pipe_ >= 0) {
        ::close(pipe_);
    }
}

bool Child::start(const ChildSpec& spec, std::string& error) {
    spec_ = spec;
    if (::access(spec.program.c_str(), X_OK) != 0) {
        error = fmt::format("{} is not there: {}", spec.program.string(), std::strerror(errno));
        return false;
    }
    std::array<int, 2> out{}, failure{};
    if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(failure.data(), O_CLOEXEC) != 0) {
        error = fmt::format("no pipe: {}", std::strerror(errno));
        return false;
    }
    if (!spec.outputFile.empty()) {
        output_.open(spec.outputFile, std::ios::binary);
    }
    // All is laid out before the fork: a child of a process with threads may not allocate.
    std::vector<std::string> words{spec.program.string()};
    words.insert(words.end(), spec.arguments.begin(), spec.arguments.end());
    std::vector<std::string> environment = environmentOf(spec);
    const std::vector<char*> argv = pointers(words), envp = pointers(environment);
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(out[1], STDERR_FILENO);
        const int null = ::open("/dev/null", O_RDONLY);
        ::dup2(null, STDIN_FILENO);
        if (::getppid() == parent && (spec.directory.empty() || ::chdir(spec.directory.c_str()) == 0)) {
            ::execve(argv[0], argv.data(), envp.data());
        }
        const int reason = errno;
        [[maybe_unused]] const ssize_t told = ::write(failure[1], &reason, sizeof reason);
        ::_exit(127);
    }
    const int forkError = errno;
    ::close(out[1]);
    ::close(failure[1]);
    int reason = 0;
    const bool failed = pid < 0 || ::read(failure[0], &reason, sizeof reason) == sizeof reason;
    ::close(failure[0]);
    if (failed) {
        if (pid > 0) {
            ::waitpid(pid, nullptr, 0);
        }
        ::close(out[0]);
        error =
            fmt::format("{} cannot be started: {}", spec.program.string(), std::strerror(pid < 0 ? forkError : reason));
        return false;
    }
    pid_ = pid;
    pipe_ = out[0];
    ::fcntl(pipe_, F_SETFL, O_NONBLOCK);
    return true;
}

void Child::take(std::string_view bytes) {
    if (spec_.forward) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        std::fflush(stdout);
    }
    if (output_.is_open()) {
        output_ << bytes << std::flush;
    }
    partial_ += bytes;
    for (std::size_t end; (end = partial_.find('\n')) != std::string::npos; partial_.erase(0, end + 1)) {
        lines_.push_back(partial_.substr(0, end));
        if (lines_.size() > linesKept) {
            lines_.erase(lines_.begin());
        }
    }
}

void Child::reap(bool block) {
    int status = 0;
    pid_t got = 0;
    do {
        got = ::waitpid(pid_, &status, block ? 0 : WNOHANG);
    } while (got < 0 && errno == EINTR);
    if (got == pid_) {
        exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        // What a child leaves behind in its group goes with it.
        ::kill(-pid_, SIGKILL);
    }
}

void Child::pump(int timeoutMs) {
    if (pipe_ >= 0) {
        pollfd wait{pipe_, POLLIN, 0};
        ::poll(&wait, 1, timeoutMs);
        std::array<char, 8192> buffer{};
        ssize_t got = 0;
        while ((got = ::read(pipe_, buffer.data(), buffer.size())) > 0) {
            take({buffer.data(), static_cast<std::size_t>(got)});
        }
        if (got == 0) {
            ::close(pipe_);
            pipe_ = -1;
        }
    } else if (running() && timeoutMs > 0) {
        ::poll(nullptr, 0, std::min(timeoutMs, 20));
    }
    if (running()) {
        reap(false);
    }
}

void Child::askToEnd() {
    if (running()) {
        ::kill(pid_, SIGTERM);
    }
}

bool Child::waitForEnd(int timeoutMs) {
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (running() && Clock::now() < end) {
        pump(std::min(50, leftMs(end)));
    }
    const bool byItself = !running();
    if (!byItself) {
        ::kill(-pid_, SIGKILL);
        reap(true);
    }
    pump(0); // the rest of its output
    return byItself;
}

std::optional<std::string> Child::waitForLine(std::string_view prefix, int timeoutMs) {
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        for (const std::string& line : lines_) {
            if (line.starts_with(prefix)) {
                return line.substr(prefix.size());
            }
        }
        if ((!running() && pipe_ < 0) || Clock::now() >= end) {
            return std::nullopt;
        }
        pump(std::min(50, leftMs(end)));
    }
}

std::string Child::lastLines() const {
    std::string all;
    for (std::size_t i = lines_.size() > 15 ? lines_.size() - 15 : 0; i < lines_.size(); ++i) {
        all += fmt::format("  {}: {}\n", spec_.name, lines_[i]);
    }
    if (!partial_.empty()) {
        all += fmt::format("  {}: {}\n", spec_.name, partial_);
    }
    return all;
}

} // namespace kes::runner
