// SPDX-License-Identifier: MIT
#include "window/terminal_window.h"

#include "core/line_writer.h"
#include "core/text.h"
#include "core/window.h"
#include "window/message_pump.h"

#include <atomic>
#include <chrono>
#include <fmt/format.h>
#include <memory>

namespace kes {

namespace {

constexpr std::int64_t counterPeriodMs = 10000;

/// Some 500 lines. Old news is no use to somebody who lets his terminal go on.
constexpr std::size_t terminalQueueBytes = 32768;

/// The longest wait at the end for a terminal that does not read, milliseconds.
constexpr int endMs = 500;

platform::Output output, errorOutput; ///< until `open`
// Never destroyed: threads may show a line to the very end of the process.
LineWriter* terminal = nullptr;
LineWriter* errors = nullptr; ///< the standard error output, or the same as above
std::atomic<std::int64_t> nextCountersMs{0};

std::string missingLines(std::uint64_t lines, const std::string&) {
    return fmt::format("status: {} line{} left out while the terminal did not read\n", lines,
                       plural(static_cast<std::int64_t>(lines)));
}

std::string_view lampText(Lamp lamp) {
    switch (lamp) {
    case Lamp::receiving:
        return "receiving";
    case Lamp::silent:
        return "silent";
    case Lamp::stopped:
        return "stopped";
    default:
        return "off";
    }
}

void terminalMessageLine(std::string_view text, bool isError, std::string_view advice) {
    if (text.empty() || terminal == nullptr)
        return;
    LineWriter& lines = isError ? *errors : *terminal;
    lines.write(isError ? "error:  " : "status: ", text);
    if (!advice.empty())
        lines.write("        ", advice);
    // An error ends the run, but its text stays up until the user has seen it.
    if (isError)
        lines.write("        ", "Ctrl-C closes the program.");
}

/// The counters change many times a second; a line every ten seconds is what a reader of a terminal can use.
void terminalRepaint() {
    if (!readouts.simLight || terminal == nullptr)
        return;
    using namespace std::chrono;
    const std::int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    std::int64_t due = nextCountersMs;
    if (now < due || !nextCountersMs.compare_exchange_strong(due, now + counterPeriodMs))
        return;
    terminal->write(
        {},
        fmt::format("live: {:3}  parked live: {:3}, parked static: {:3}  qnh: {:4}  Weather {}  Traffic {}  {}",
                    readouts.live.load(), readouts.parkedLive.load(), readouts.parkedStatic.load(), readouts.qnh.load(),
                    lampText(readouts.weatherLamp), lampText(readouts.trafficLamp), readoutText(Readout::simName)));
}

void openTerminal() {
    terminal = new LineWriter(std::move(output), {terminalQueueBytes, "Terminal"}, missingLines);
    errors = errorOutput.isOpen()
                 ? new LineWriter(std::move(errorOutput), {terminalQueueBytes, "Terminal errors"}, missingLines)
                 : terminal;
}

/// A terminal has no close button; the user's signals reach the process another way.
int runTerminal(void (*)()) {
    const int code = runMessagePump();
    closeTerminalWindow(endMs);
    return code;
}

} // namespace

WindowBackend terminalBackend(platform::Output out, platform::Output forErrors) {
    output = std::move(out);
    errorOutput = std::move(forErrors);
    WindowBackend backend;
    backend.open = openTerminal;
    backend.run = runTerminal;
    backend.post = postMessage;
    backend.quit = postQuit;
    backend.repaint = terminalRepaint;
    backend.drawMessageLine = terminalMessageLine;
    return backend;
}

void closeTerminalWindow(int ms) {
    terminal->close(ms);
    if (errors != terminal)
        errors->close(ms);
}

} // namespace kes
