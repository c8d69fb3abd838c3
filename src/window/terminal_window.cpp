#include "window/terminal_window.h"

#include "core/window.h"

#include <atomic>
#include <chrono>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr std::int64_t counterPeriodMs = 10000;

std::FILE* terminal = nullptr;
std::atomic<std::int64_t> nextCountersMs{0};

// One write per line, so that lines of different threads do not mix.
void writeLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), terminal);
    std::fflush(terminal);
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

void terminalMessageLine(std::string_view text, bool isError) {
    if (!text.empty())
        writeLine(fmt::format("{} {}\n", isError ? "error: " : "status:", text));
}

/// The counters change many times a second; a line every ten seconds is what a reader of a terminal can use.
void terminalRepaint() {
    if (!readouts.simLight)
        return;
    using namespace std::chrono;
    const std::int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    std::int64_t due = nextCountersMs;
    if (now < due || !nextCountersMs.compare_exchange_strong(due, now + counterPeriodMs))
        return;
    writeLine(fmt::format("live: {:3}  parked live: {:3}, parked static: {:3}  qnh: {:4}  Weather {}  Traffic {}  {}\n",
                          readouts.live.load(), readouts.parkedLive.load(), readouts.parkedStatic.load(),
                          readouts.qnh.load(), lampText(readouts.weatherLamp), lampText(readouts.trafficLamp),
                          readoutText(Readout::simName)));
}

} // namespace

void useTerminalWindow(std::FILE* out) {
    terminal = out;
    WindowBackend backend;
    backend.repaint = terminalRepaint;
    backend.drawMessageLine = terminalMessageLine;
    setWindowBackend(backend);
}

} // namespace kes
