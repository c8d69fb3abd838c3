// SPDX-License-Identifier: MIT
#include "platform/system.h"
#include "spine/check.h"
#include "spine/process.h"
#include "spine/program_folder.h"
#include "tools/command_line/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fmt/format.h>

int main(int argc, char** argv) {
    using namespace kes;
    CLI::App app("Shows real air traffic in the flight simulator. Settings are made in its window.", "kestrelune");
    command_line::prepare(app);
    bool window = true;
    bool check = false;
    std::filesystem::path folder, recording;
    command_line::addFlag(
        app, "--no-window", [&window] { window = false; }, "Status lines on the terminal instead of the window");
    command_line::addFlag(
        app, "--check", [&check] { check = true; },
        "Goes through all that a flight needs, tells for each item whether it is there and what to do if not, and "
        "ends");
    command_line::addValue(
        app, "--record", "FILE", "a file",
        [&recording](const std::string& text) {
            if (text.empty())
                return false;
            recording = std::filesystem::absolute(platform::pathFrom(text)).lexically_normal(); // the folder changes
            return true;
        },
        "Keep what the traffic source sends, as gzip, for kestrelune-replay; the signal SIGUSR1 begins and ends one, "
        "too");
    command_line::addValue(
        app, "--folder", "DIR", "a folder",
        [&folder](const std::string& text) {
            folder = platform::pathFrom(text);
            return !text.empty();
        },
        "The folder to work in, made when it does not exist (default: the current one when it is the program's, "
        "else one of your own)");
    if (const auto ending = command_line::parse(app, {argv + 1, argv + argc}))
        return command_line::tell(*ending);
    try {
        enterProgramFolder(folder, installedContent());
        return check ? runCheck() : runProcess(window, recording);
    } catch (const std::exception& error) {
        fmt::print(stderr, "kestrelune: {}\n", error.what());
        return 1;
    }
}
