// SPDX-License-Identifier: MIT
// A virtual display with a window manager, and a user before it, for tests of the window.
#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kes::test {

/// A virtual display with a window manager, which gives the window its frame and the focus. In DISPLAY while it lives.
class Display {
public:
    ~Display() {
        endServer();
        end(manager_);
        ::unsetenv("DISPLAY");
    }
    /// Why there can be none; empty when it stands.
    std::string start() {
        for (const char* program : {"Xvfb", "openbox", "xdotool"}) {
            if (std::system(fmt::format("command -v {} >/dev/null 2>&1", program).c_str()) != 0)
                return fmt::format("{} is not installed", program);
        }
        int number[2];
        if (::pipe2(number, O_CLOEXEC) != 0)
            return "no pipe";
        server_ =
            run({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp", "-noreset"}, number[1]);
        ::close(number[1]);
        // The number comes when the display is there; a server that cannot write its line feed behind it ends.
        std::string text;
        for (char c = 0; ::read(number[0], &c, 1) == 1 && c != '\n';)
            text += c;
        ::close(number[0]);
        if (text.empty())
            return "Xvfb does not start";
        ::setenv("DISPLAY", (":" + text).c_str(), 1);
        ::unsetenv("WAYLAND_DISPLAY");
        manager_ = run({"openbox"}, -1);
        return {};
    }
    void endServer() { end(server_); }

private:
    static void end(pid_t& process) {
        const pid_t one = std::exchange(process, -1);
        if (one <= 0)
            return;
        ::kill(one, SIGTERM);
        ::waitpid(one, nullptr, 0);
    }
    static pid_t run(std::vector<const char*> command, int output) {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(output >= 0 ? output : nowhere, 1);
        ::dup2(nowhere, 2);
        command.push_back(nullptr);
        ::execvp(command[0], const_cast<char**>(command.data()));
        ::_exit(127);
    }
    pid_t server_ = -1, manager_ = -1;
};

/// Real keys and clicks, in the words of xdotool.
inline void user(const std::string& does) {
    EXPECT_EQ(std::system(("xdotool " + does).c_str()), 0) << does;
}

} // namespace kes::test
