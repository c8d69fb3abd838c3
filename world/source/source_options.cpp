#include "core/text.h"
#include "world/source/source_run.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace kes::source {

namespace {

template <typename T> bool number(std::string_view text, T& value, T low, T high) {
    T v{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (error != std::errc{} || end != text.data() + text.size() || !(v >= low && v <= high)) {
        return false;
    }
    value = v;
    return true;
}

bool place(std::string_view text, LatLon& at) {
    const auto parts = split(text, ',');
    return parts.size() == 2 && number(parts[0], at.lat, -89.0, 89.0) && number(parts[1], at.lon, -180.0, 180.0);
}

} // namespace

std::string_view usageText() {
    return R"(kestrelune-source: sends traffic and weather and connects to the program's control link.

  --feed FILE            a recording of traffic lines, plain or gzip, sent at its own pace
  --scenario NAME        the built-in traffic; "airport" is the one there is (default)
  --at LAT,LON           where the scenario's airport lies (default: Munich)
  --elevation FEET       its elevation
  --seed N               seed of the scenario (default 1)
  --burst, --no-burst    all lines of 5 s at once, or each at its time (default: the scenario at once, a recording not)
  --speed X              times real time (default 1)
  --minutes N            end after N minutes (default: when told)
  --wait-for-position    no traffic before the program has sent a position
  --host ADDRESS         IPv4 address of the program (default 127.0.0.1)
  --traffic-port N       default 49005
  --weather-port N       default 49004
  --control-port N       default 10747
  --edition prof|stnd    the edition told to the program (default prof)
  --qnh N                sea-level pressure, hectopascal
  --report FILE          counts as JSON, written at the end
  --command-port N       takes commands on this loopback port, 0 = any free one
  --help

Commands, one a line: stop-traffic, start-traffic, garbage N, flood RATE SECONDS, drop-link, link on|off, qnh X,
report, quit.
)";
}

bool readOptions(std::span<const std::string> arguments, SourceOptions& o, std::string& error) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (name == "--help" || name == "-h") {
            o.help = true;
            continue;
        }
        if (name == "--burst" || name == "--no-burst") {
            o.burst = name == "--burst";
            continue;
        }
        if (name == "--wait-for-position") {
            o.waitForPosition = true;
            continue;
        }
        static constexpr std::string_view known[] = {
            "--feed",    "--scenario",     "--at",           "--elevation",
            "--host",    "--traffic-port", "--weather-port", "--control-port",
            "--edition", "--qnh",          "--minutes",      "--speed",
            "--seed",    "--report",       "--command-port", "--control-port-commands"};
        bool found = false;
        for (std::string_view k : known) {
            found = found || k == name;
        }
        if (!found) {
            error = fmt::format("unknown option {}", name);
            return false;
        }
        if (i + 1 >= arguments.size()) {
            error = fmt::format("{} needs a value", name);
            return false;
        }
        const std::string& v = arguments[++i];
        double value = 0;
        LatLon at;
        bool good = true;
        if (name == "--feed") {
            o.feed = v;
        } else if (name == "--scenario") {
            good = v == "airport";
            o.scenario = v;
        } else if (name == "--at") {
            good = place(v, at);
            o.at = at;
        } else if (name == "--elevation") {
            good = number(v, value, -1500.0, 20000.0);
            o.elevation = value;
        } else if (name == "--host") {
            o.host = v;
        } else if (name == "--traffic-port") {
            good = number<std::uint16_t>(v, o.trafficPort, 1, 65535);
        } else if (name == "--weather-port") {
            good = number<std::uint16_t>(v, o.weatherPort, 1, 65535);
        } else if (name == "--control-port") {
            good = number<std::uint16_t>(v, o.controlPort, 1, 65535);
        } else if (name == "--edition") {
            good = v == "prof" || v == "stnd";
            o.professional = v == "prof";
        } else if (name == "--qnh") {
            good = number(v, value, 1.0, 4000.0);
            o.qnh = value;
        } else if (name == "--minutes") {
            good = number(v, o.minutes, 0.0, 1e6);
        } else if (name == "--speed") {
            good = number(v, o.speed, 0.01, 100000.0);
        } else if (name == "--seed") {
            good = number<std::uint32_t>(v, o.seed, 0, 0xFFFFFFFFU);
        } else if (name == "--report") {
            o.reportFile = v;
        } else {
            good = number(v, o.commandPort, 0, 65535);
        }
        if (!good) {
            error = fmt::format("{} cannot be {}", name, v);
            return false;
        }
    }
    return true;
}

} // namespace kes::source
