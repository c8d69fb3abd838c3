#include "tools/replay/replay_options.h"

#include "core/text.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace kes::replay {

namespace {

bool readNumber(std::string_view text, double& value) {
    text = strip(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
}

template <typename Integer> bool readInteger(std::string_view text, Integer& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

bool readViewpoint(std::string_view text, Viewpoint& view) {
    const auto parts = split(text, ',');
    return parts.size() == 3 && readNumber(parts[0], view.at.lat) && readNumber(parts[1], view.at.lon) &&
           readNumber(parts[2], view.altFeet) && std::fabs(view.at.lat) <= 90.0 && std::fabs(view.at.lon) <= 180.0;
}

std::string take(const std::string& name, const std::string& value, Options& o) {
    if (name == "--feed")
        o.feed = value;
    else if (name == "--out")
        o.out = value;
    else if (name == "--data")
        o.data = value;
    else if (name == "--airport")
        o.airport = value;
    else if (name == "--at") {
        Viewpoint view;
        if (!readViewpoint(value, view))
            return fmt::format("--at wants LAT,LON,ALT_FT, not \"{}\"", value);
        o.at = view;
    } else if (name == "--minutes") {
        if (!readNumber(value, o.minutes) || o.minutes <= 0.0 || o.minutes > 24.0 * 60.0)
            return fmt::format("--minutes wants a number above 0 and up to 1440, not \"{}\"", value);
    } else if (name == "--seed") {
        if (!readInteger(value, o.seed))
            return fmt::format("--seed wants a whole number, not \"{}\"", value);
    } else if (name == "--every") {
        if (!readInteger(value, o.every) || o.every < 1)
            return fmt::format("--every wants a whole number of ticks, not \"{}\"", value);
    } else {
        return fmt::format("unknown option \"{}\", --help tells them all", name);
    }
    return {};
}

} // namespace

std::string readOptions(const std::vector<std::string>& arguments, Options& o) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (name == "--help" || name == "-h")
            o.help = true;
        else if (name == "--list")
            o.list = true;
        else if (name == "--burst")
            o.burst = true;
        else if (name == "--quiet")
            o.quiet = true;
        else if (i + 1 == arguments.size())
            return fmt::format("{} needs a value, --help tells all options", name);
        else if (std::string problem = take(name, arguments[++i], o); !problem.empty())
            return problem;
    }
    if (o.help || o.list)
        return {};
    if (o.feed.empty())
        return "--feed is missing: a recording, or the name of a scenario (--list tells them)";
    if (o.out.empty())
        return "--out is missing: the folder for the results";
    return {};
}

std::string helpText() {
    return "kestrelune-replay --feed FILE|SCENARIO [options] --out DIR\n"
           "Replays traffic through the whole program in virtual time and judges how it moves.\n"
           "  --feed FILE          a recording of feed lines, plain or gzip\n"
           "  --feed SCENARIO      traffic whose truth is known, as in turns, ils-sea+noise or taxi-90+10s+gaps\n"
           "  --list               tells the scenarios and their variants\n"
           "  --at LAT,LON,ALT_FT  where the user's aircraft is; without it in the middle of the traffic\n"
           "  --airport ICAO       the user's aircraft is 5000 ft above this airport\n"
           "  --minutes N          stops after so many minutes of traffic\n"
           "  --seed N             all that is random; the same seed and feed give the same files (1)\n"
           "  --every N            ticks of 10 ms between the rows of motion.csv (scenario 10, recording 100)\n"
           "  --data DIR           the plain sources of the reference content\n"
           "  --burst              all lines of 5 s come at once, of each aircraft the newest\n"
           "  --quiet              no progress\n"
           "  --out DIR            gets motion.csv, metrics.json, map.html and, in program/, the program's own files\n";
}

} // namespace kes::replay
