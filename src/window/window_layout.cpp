// SPDX-License-Identifier: MIT
#include "window/window_layout.h"

#include <fmt/format.h>

namespace kes {

namespace {

constexpr int tickWidth = 106, number = 44, digit = 32;

// Tick boxes are as wide as their label has room up to the next control.
const PlacedControl controls[] = {
    {&par::MSFS_2020, 5, 100, "&Install path:", "Ticked: MSFS 2020, else MSFS 2024. A change starts anew"},
    {&par::ALL_INSTALL_PATH, 111, 764, "", "The Community folder of the simulator. Enter takes it and starts anew"},

    {&par::SCAN_LIVERIES, 5, 205, "&Scan for liveries",
     "Looks for AI aircraft at the next start, or now while it waits"},
    {&par::LIG_AUTOMATIC, 217, 150, "&Automatic, selector:", "Finds the AI packages by itself; off: the lfolder list"},
    {&par::AI_PACKAGE_ORDER, 368, digit, "", "Which AI package goes first"},
    {&par::LIG_PRIORITIZE, 430, tickWidth, "&Prioritize", "A livery that an earlier folder has is skipped"},
    {&par::SUPPRESS_STUB, 536, tickWidth, "S&tub", "Leaves out liveries whose title ends in -STUB"},
    {&par::LOG, 652, 95, "L&og", "Writes details into Log.txt"},
    {&par::ALWAYS_ON_TOP, 748, 127, "Sta&y on top", "Keeps this window above others"},

    {&par::SCAN_AIRPORTS, 5, 205, "Scan for addon ai&rports", "Looks for add-on airports at the next start"},
    {&par::NAV_LIGHTS_WHILE_PARKED, 652, 95, "&Nav lights", "Parked aircraft show their navigation lights"},
    {&par::LEARN_SOFT, 748, 127, "&Learn Soft", "Learns the use of stands also from what is likely"},

    {&par::MATCHING_DEPTH, 217, digit, "Max aircraft matching depth", "How far from the real livery a match may be"},
    {&par::LIGHT_AIRCRAFT, 323, tickWidth, "Li&ght aircraft", "Shows light aircraft"},
    {&par::HELICOPTERS, 430, tickWidth, "&Helicopters", "Shows helicopters"},
    {&par::HIGH_PERF_AIRCRAFT, 536, 112, "&FighterJets", "Shows fighters and other fast jets"},
    {&par::AEROWINX, 652, 95, "Aero&winx", "For users of Aerowinx PSX only; start anew after a change"},
    {&par::GUID_CHANGES, 748, 127, "G&UID changes", "Follows an aircraft whose identity changes"},

    {&par::LATERAL_RANGE, 217, digit, "radius:", "Traffic within so many nautical miles is shown"},
    {&par::AUTO_RANGE, 323, tickWidth, "auto rang&e", "Chooses the radius by the phase of your flight"},
    {&par::AUTO_RANGE_ABOVE_HEIGHT, 455, 60, "ah:", "Above so many feet over ground the radius is 100 nm"},
    {&par::CALLSIGN_OBJECTIDS, 748, 127, "ob&jectids", "Writes the list of callsigns and object numbers each minute"},

    {&par::BLOCK_CALLSIGN, 217, 96, "block:", "The live aircraft of this callsign is removed and stays away"},
    {&par::unblock, 323, 90, "", "Empties the box beside"},
    {&par::CALLSIGN_2_OBJECTID, 460, 84, "oid:", "Tells the object number of a callsign"},

    {&par::COLLISION_USER_GND, 217, tickWidth, "User groun&d", "Removes what stands in the way of your aircraft"},
    {&par::COLLISION_USER_AIR, 323, tickWidth, "User air", "Removes what comes too near in the air"},
    {&par::COLLISION_LIVE_PARKED_GND, 430, 150, "Live &X parked",
     "Static aircraft make way for live ones on the ground"},

    {&par::CUSTOM_MAX_PARK, 353, number,
     "generic max park:", "Most parked aircraft at an airport; -1 = by the percentage"},
    {&par::MAX_LIVE, 601, number, "max live:", "Most live aircraft; -1 = no limit but the simulator's"},
    {&par::STRAIGHT_PBS_ONLY, 652, 223, "Straight push &backs only", "Aircraft are pushed back without a turn"},

    {&par::DESTINATION, 217, 60, "destination:", "ICAO code of the airport whose stands are filled first"},
    {&par::AIRPORT_RANGE, 353, number, "range:", "An airport within so many nautical miles is filled"},
    {&par::AIRPORT_HEIGHT, 566, 60, "height above gnd:", "Above so many feet over ground no airport is filled"},
    {&par::reRead, 652, 90, "", "Reads the list of airports and their files again"},

    {&par::PARK_FAKE, 5, 65, "Fa&ke", "Fills stands also by likely guesses"},
    {&par::WEEK, 71, 75, "Week", "Fills stands by the whole week instead of the day"},
    {&par::PARK_SOFT, 151, 62, "Soft", "Fills stands also by what is likely"},
    {&par::parking_percentage, 217, number, "", "So many of a hundred stands are filled"},
    {&par::flushStatic, 323, 105, "", "Removes all static aircraft"},
    {&par::INITIAL_LOAD_ONLY, 430, 56, "ILO", "Static aircraft are placed once and not renewed"},
    {&par::MAX_FIT, 566, number, "Max fit:", "A static aircraft's visit lies at most so many half-hours back"},
    {&par::MAX_FIT_FL, 616, number, "", "The same in hours"},
};

const PlacedLabel labels[] = {
    {5, 231, "Traffic injection"},     {253, 231, "nm,  or", &par::LATERAL_RANGE},
    {253, 203, "Optional:"},           {5, 259, "Callsigns"},
    {5, 287, "Collision avoidance"},   {265, 371, "%", &par::parking_percentage},
    {664, 371, "h", &par::MAX_FIT_FL},
};

} // namespace

const Control& PlacedControl::base() const {
    return *std::visit([](const auto* box) { return static_cast<const Control*>(box); }, control);
}

std::string PlacedControl::wholeTip() const {
    if (IntBox* const* box = std::get_if<IntBox*>(&control))
        return fmt::format("{} ({} to {})", tip, (*box)->minValue, (*box)->maxValue);
    if (FloatBox* const* box = std::get_if<FloatBox*>(&control))
        return fmt::format("{} ({:.1F} to {:.1F})", tip, (*box)->minValue, (*box)->maxValue);
    return std::string(tip);
}

std::span<const PlacedControl> placedControls() {
    return controls;
}

std::span<const PlacedLabel> placedLabels() {
    return labels;
}

} // namespace kes
