// SPDX-License-Identifier: MIT
#include "world/runner/options.h"

#include "core/text.h"

#include <CLI/CLI.hpp>
#include <limits>

namespace kes::runner {

namespace {

using command_line::addText;
using command_line::addValue;
using command_line::readNumber;

bool readStart(std::string_view text, std::optional<UserStart>& at) {
    constexpr double any = std::numeric_limits<double>::max();
    const auto parts = split(text, ',');
    UserStart start;
    if ((parts.size() != 3 && parts.size() != 4) || !readNumber(parts[0], start.place.lat, -89.0, 89.0) ||
        !readNumber(parts[1], start.place.lon, -180.0, 180.0) ||
        !readNumber(parts[2], start.altitude, -1500.0, 60000.0) ||
        (parts.size() == 4 && !readNumber(parts[3], start.heading, -any, any))) {
        return false;
    }
    at = start;
    return true;
}

} // namespace

std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, RunOptions& o) {
    CLI::App app("Runs the program with a simulator and a traffic source that stand in for the real ones.",
                 "kestrelune-run");
    command_line::prepare(app);
    const auto folder = [&app](const char* name, std::filesystem::path& target, const char* description) {
        addValue(
            app, name, "DIR", "",
            [&target](const std::string& text) {
                target = text;
                return true;
            },
            description);
    };
    addValue(
        app, "--minutes", "N", "a number above 0 and up to 1000000",
        [&o](const std::string& text) { return readNumber(text, o.minutes, std::numeric_limits<double>::min(), 1e6); },
        "End after so many minutes (default: with Ctrl-C)");
    addText(app, "--feed", "FILE", o.feed, "Traffic from a recording instead of the built-in scenario");
    addText(app, "--stands", "FILE", o.stands,
            "With --feed: the stands of its airport, in the apt.dat form, plain or gzip");
    addValue(
        app, "--at", "LAT,LON,ALT_FT[,HDG]", "LAT,LON,ALT_FT[,HDG]",
        [&o](const std::string& text) { return readStart(text, o.at); },
        "Where the user's aircraft is (default: near the traffic)");
    app.add_flag("--no-window", o.noWindow, "Without the window, even on a display");
    folder("--folder", o.folder, "The program folder (default: run-folder in the project), made anew");
    app.add_flag("--keep", o.keep, "Use the program folder as the last run left it");
    addValue(
        app, "--msfs", "2020|2024", "2020 or 2024",
        [&o](const std::string& text) {
            o.msfs = text;
            return text == "2020" || text == "2024";
        },
        "Which simulator (default 2020)");
    addValue(
        app, "--source", "\"OPTION VALUE ...\"", "",
        [&o](const std::string& text) {
            for (std::string_view word : split(text, ' ')) {
                if (!word.empty()) {
                    o.sourceArguments.emplace_back(word);
                }
            }
            return true;
        },
        "Options for kestrelune-source; may be repeated");
    folder("--build", o.build, "Where the programs are built");
    folder("--project", o.project, "Where the project is");
    app.footer("The last line is \"run report: \" and one JSON object, as counted by the stand-ins.");
    return command_line::parse(app, arguments);
}

} // namespace kes::runner
