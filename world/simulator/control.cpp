// SPDX-License-Identifier: MIT
#include "world/simulator/control.h"

#include "core/geo.h"
#include "core/text.h"

#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kes::world {

namespace {

using nlohmann::json;

constexpr std::string_view done = "ok";

std::string wrong(std::string_view reason) {
    return fmt::format("error: {}", reason);
}

/// Numbers between blanks or commas.
bool numbersOf(std::string_view text, std::size_t least, std::size_t most, std::vector<double>& numbers) {
    std::string list;
    for (const std::string_view piece : split(text, ' ')) {
        const std::string_view number = strip(piece);
        if (number.empty())
            continue;
        if (!list.empty() && !list.ends_with(','))
            list += ',';
        list += number;
    }
    return parseNumbers(list, least, most, numbers);
}

std::string teleport(Simulator& simulator, std::string_view argument) {
    std::vector<double> n;
    if (!numbersOf(argument, 3, 4, n) || std::abs(n[0]) > 90.0 || std::abs(n[1]) > 180.0)
        return wrong("teleport wants LAT LON ALT_FT [HDG]");
    if (n.size() == 4)
        simulator.user.heading = normalizeAngle(n[3] * degToRad);
    teleportUser(simulator, n[0], n[1], n[2]);
    return std::string(done);
}

std::string setUser(Simulator& simulator, std::string_view argument) {
    std::string error;
    if (!parseUserMotion(argument, simulator.motion, error))
        return wrong(error);
    startUserMotion(simulator.user, simulator.motion, simulator.terrain);
    return std::string(done);
}

std::string addAirfield(Simulator& simulator, std::string_view argument) {
    Airfield airfield;
    if (!parseAirfield(argument, airfield))
        return wrong("airfield wants LAT,LON,ELEV_FT[,RADIUS_NM]");
    simulator.terrain.airfields.push_back(airfield);
    return std::string(done);
}

std::string setFps(Simulator& simulator, std::string_view argument) {
    std::vector<double> n;
    if (!numbersOf(argument, 1, 1, n) || n[0] < 1.0 || n[0] > 1000.0)
        return wrong("fps wants a number from 1 to 1000");
    setFrameRate(simulator, n[0]);
    return std::string(done);
}

std::string stall(Simulator& simulator, std::string_view argument) {
    std::vector<double> n;
    if (!numbersOf(argument, 1, 1, n) || n[0] < 0.0 || n[0] > 86400.0)
        return wrong("stall wants a number of seconds");
    stallFrames(simulator, n[0]);
    return std::string(done);
}

std::string setSim(Simulator& simulator, std::string_view argument) {
    if (argument != "0" && argument != "1")
        return wrong("sim wants 0 or 1");
    setSimRunning(simulator, argument == "1");
    return std::string(done);
}

std::string newFlight(Simulator& simulator, std::string_view argument) {
    loadFlight(simulator, argument.empty() ? "flights\\other\\another.flt" : argument);
    return std::string(done);
}

std::string drop(Simulator& simulator, std::string_view) {
    dropClients(simulator);
    return std::string(done);
}

std::string quit(Simulator& simulator, std::string_view) {
    quitSimulator(simulator);
    return std::string(done);
}

std::string refuse(Simulator& simulator, std::string_view argument) {
    if (argument.empty())
        return wrong("refuse wants a title");
    simulator.faults.refusedTitles.emplace(argument);
    return std::string(done);
}

std::string accept(Simulator& simulator, std::string_view argument) {
    const auto title = simulator.faults.refusedTitles.find(argument);
    if (title == simulator.faults.refusedTitles.end())
        return wrong("this title was not refused");
    simulator.faults.refusedTitles.erase(title);
    return std::string(done);
}

std::string setSwitch(bool& on, std::string_view argument) {
    if (argument != "on" && argument != "off")
        return wrong("this wants on or off");
    on = argument == "on";
    return std::string(done);
}

std::string refuseAll(Simulator& simulator, std::string_view argument) {
    return setSwitch(simulator.faults.refuseAll, argument);
}
std::string mute(Simulator& simulator, std::string_view argument) {
    return setSwitch(simulator.faults.mute, argument);
}
std::string hangUp(Simulator& simulator, std::string_view argument) {
    return setSwitch(simulator.faults.hangUp, argument);
}

std::string refuseEvery(Simulator& simulator, std::string_view argument) {
    std::vector<double> n;
    if (!numbersOf(argument, 1, 1, n) || n[0] < 0.0 || n[0] > 1e9 || n[0] != std::floor(n[0]))
        return wrong("refuse-every wants a whole number, 0 = none");
    simulator.faults.refuseEvery = static_cast<std::uint32_t>(n[0]);
    simulator.faults.creates = 0;
    return std::string(done);
}

std::string report(Simulator& simulator, std::string_view) {
    return reportJson(simulator);
}

std::string record(Simulator& simulator, std::string_view argument) {
    return setSwitch(simulator.recordWire, argument);
}

json describe(const Simulator& simulator, const SimObject& object) {
    const double ground = groundBelow(simulator, object);
    return {{"id", object.id},
            {"title", object.title},
            {"tail", object.tail},
            {"lat", object.lat},
            {"lon", object.lon},
            {"altFt", object.alt},
            {"groundFt", ground},
            {"onGround", isOnGround(object, ground)},
            {"headingDeg", object.heading * radToDeg},
            {"pitchDeg", object.pitch * radToDeg},
            {"bankDeg", object.bank * radToDeg},
            {"tasKt", object.tas},
            {"vsFps", object.vs},
            {"lights", object.lights},
            {"gear", object.gear},
            {"engines", object.engines},
            {"flapsPercent", object.flaps},
            {"spoilersPercent", object.spoilers},
            {"throttlePercent", object.throttle[0]},
            {"frozen", object.freezeLatLon && object.freezeAltitude && object.freezeAttitude},
            {"flightPlan", object.flightPlan},
            {"positionRecords", object.positionRecords}};
}

/// Titles and paths come from a client and need not be UTF-8.
std::string dump(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string wire(Simulator& simulator, std::string_view) {
    const std::string list = dump(json(simulator.wire));
    simulator.wire.clear();
    return list;
}

std::string objects(Simulator& simulator, std::string_view) {
    json list = json::array();
    for (const SimObject& object : simulator.objects)
        list.push_back(describe(simulator, object));
    return dump(list);
}

std::string user(Simulator& simulator, std::string_view argument) {
    if (!argument.empty())
        return setUser(simulator, argument);
    json description = describe(simulator, simulator.user);
    description["model"] = simulator.user.model;
    return dump(description);
}

/// Empty texts are allowed: an aircraft whose files are encrypted tells nothing of itself.
std::string setUserTitle(Simulator& simulator, std::string_view argument) {
    simulator.user.title = argument;
    return std::string(done);
}

std::string setUserModel(Simulator& simulator, std::string_view argument) {
    simulator.user.model = argument;
    return std::string(done);
}

std::string help(Simulator&, std::string_view) {
    std::string text(commandHelp());
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}

struct Command {
    std::string_view name;
    std::string (*run)(Simulator&, std::string_view);
};

constexpr Command commands[] = {
    {"teleport", teleport},
    {"user", user},
    {"user-title", setUserTitle},
    {"user-model", setUserModel},
    {"airfield", addAirfield},
    {"fps", setFps},
    {"stall", stall},
    {"sim", setSim},
    {"newflight", newFlight},
    {"drop", drop},
    {"quit", quit},
    {"refuse", refuse},
    {"accept", accept},
    {"refuse-all", refuseAll},
    {"refuse-every", refuseEvery},
    {"mute", mute},
    {"hang-up", hangUp},
    {"record", record},
    {"wire", wire},
    {"report", report},
    {"objects", objects},
    {"help", help},
};

} // namespace

std::string runCommand(Simulator& simulator, std::string_view line) {
    line = strip(line);
    if (line.empty())
        return {};
    const std::size_t blank = line.find(' ');
    const std::string_view name = line.substr(0, blank);
    const std::string_view argument = blank == std::string_view::npos ? std::string_view{} : strip(line.substr(blank));
    for (const Command& command : commands)
        if (command.name == name)
            return command.run(simulator, argument);
    return wrong(fmt::format("no command {}", name));
}

std::string_view commandHelp() {
    return "  teleport LAT LON ALT_FT [HDG]   put the user's aircraft somewhere else\n"
           "  user                            tell what the user's aircraft does, as JSON\n"
           "  user stand|fly:KTS,HDG[,FPM]|file:CSV   let it move another way\n"
           "  user-title [TEXT], user-model [TEXT]    what its TITLE and ATC MODEL say from now on\n"
           "  airfield LAT,LON,ELEV_FT[,RADIUS_NM]    flatten the ground there\n"
           "  fps N                           frames per second\n"
           "  stall SECONDS                   no frames for a while\n"
           "  sim 0|1                         leave the flight, come back to it\n"
           "  newflight [PATH]                load another flight; all AI objects go\n"
           "  drop                            cut every client off without a word\n"
           "  quit                            end the simulator: QUIT, then the streams end\n"
           "  refuse TITLE, accept TITLE      creates with this title fail, or work again\n"
           "  refuse-all on|off               all creates fail\n"
           "  refuse-every N                  every N-th create fails, 0 = none\n"
           "  mute on|off                     take packets and answer none, as while it starts\n"
           "  hang-up on|off                  end every stream at its first packet\n"
           "  record on|off                   write down every packet that is taken\n"
           "  wire                            the packets written down since the last time, as JSON\n"
           "  report                          the counters, as JSON\n"
           "  objects                         the AI objects, as JSON\n"
           "  help                            this list\n";
}

std::string reportJson(const Simulator& simulator) {
    const Counters& counters = simulator.counters;
    json exceptions = json::object();
    for (const auto& [number, count] : counters.exceptions)
        exceptions[std::to_string(number)] = count;
    json events = json::object();
    for (const auto& [name, count] : counters.events)
        events[name] = count;
    json rests = json::array();
    for (const Rest& r : counters.rests.all())
        rests.push_back({{"name", r.name},
                         {"title", r.title},
                         {"lat", r.at.lat},
                         {"lon", r.at.lon},
                         {"from", r.from},
                         {"to", r.to},
                         {"rolledIn", r.rolledIn}});
    const json report = {{"objectsCreated", counters.objectsCreated},
                         {"objectsRemoved", counters.objectsRemoved},
                         {"objectsLeftBehind", counters.leftBehind},
                         {"objectsNow", simulator.objects.size()},
                         {"peakObjects", counters.peakObjects},
                         {"positionRecords", counters.positionRecords},
                         {"refusedCreates", counters.refusedCreates},
                         {"largestGapMs", static_cast<double>(counters.largestGapNs) / 1e6},
                         {"largestGapTail", counters.largestGapTail},
                         {"speeds", counters.speeds.flights()},
                         {"rests", rests},
                         {"exceptions", exceptions},
                         {"events", events},
                         {"packetsReceived", counters.packetsReceived},
                         {"clients", counters.clients},
                         {"overflows", counters.overflows},
                         {"refusedClients", counters.refusedClients},
                         {"frames", counters.frames},
                         {"seconds", static_cast<double>(simulator.timeNs) / 1e9}};
    return dump(report);
}

} // namespace kes::world
