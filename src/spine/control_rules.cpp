// SPDX-License-Identifier: MIT
#include "spine/control_rules.h"

#include "airports/airport_file.h"
#include "airports/airport_table.h"
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/change.h"
#include "core/control_changes.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/version.h"
#include "core/window.h"
#include "liveries/store.h"
#include "platform/file.h"
#include "platform/system.h"
#include "sim/ai_commands.h"
#include "spine/main_tick.h"
#include "spine/worker.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>

namespace kes {

namespace {

bool liveriesOutdated = false; ///< worker

void say(std::string_view text) {
    showStatus(text, false);
}

/// What is said when a box comes to stand so; {} is the program's name.
struct TickMessage {
    const BoolBox& box;
    bool on;
    const char* text;
};
const TickMessage tickMessages[] = {
    {par::LIG_AUTOMATIC, false, "The liveries defined by your lfolder parameters will be scanned"},
    {par::LIG_PRIORITIZE, true, "Liveries in lower lfolders that are already available will be skipped"},
    {par::SUPPRESS_STUB, true, "Exclude FSLTL-liveries titles ending with _STUB from scan"},
    {par::INITIAL_LOAD_ONLY, true,
     "Initial Load Only: static parked aircraft are generated once, no renewal every 20 minutes"},
    {par::COLLISION_LIVE_PARKED_GND, false,
     "Be aware, no collision avoidance with live aircraft vs parked static on the ground"},
    {par::COLLISION_USER_GND, false, "Be aware, no collision avoidance with user aircraft on the ground"},
    {par::COLLISION_USER_AIR, false, "Be aware, no collision avoidance with user aircraft in the air"},
    {par::AEROWINX, true, "Note: This mode is for Aerowinx PSX users only, please re-start {}"},
    {par::ALWAYS_ON_TOP, true, "{}'s window will remain visible"},
    {par::LEARN_SOFT, false, "Be aware, no more livery updates: you miss correct data for Learn, LittleNavMap, etc!"},
};

/// Whether a control is one of those that the learned file of an airport keeps.
bool belongsToAirport(const Control* control) {
    static constexpr const Control* kept[] = {&par::LATERAL_RANGE,     &par::AUTO_RANGE, &par::WEEK,
                                              &par::PARK_FAKE,         &par::PARK_SOFT,  &par::parking_percentage,
                                              &par::INITIAL_LOAD_ONLY, &par::MAX_FIT,    &par::MAX_FIT_FL,
                                              &par::MAX_LIVE,          &par::LEARN_SOFT};
    return std::ranges::find(kept, control) != std::end(kept);
}

void noteForAirport(const Control& control) {
    if (airportLoaded && belongsToAirport(&control))
        saveParamChanged = true;
}

/// The parking follows at its next quarter minute.
void parkingWillRespond() {
    const std::int32_t n = 15 - secondCounter % 15;
    say(fmt::format("{} will respond in {} second{} ...", programName, n, plural(n)));
    windowRequests.parkAdjust = true;
}

void switchSimulator() {
    std::error_code ignored;
    std::filesystem::remove(path::liveriesScanned, ignored);
    liveriesOutdated = true;
    change(par::SCAN_LIVERIES, true);
    change(par::SCAN_AIRPORTS, true);
    say(fmt::format("Switching Simulator to {}", par::MSFS_2020 ? "MSFS 2020" : "MSFS 2024"));
    changeForNow(par::ALL_INSTALL_PATH, "");
    if (!par::MSFS_2020)
        change(par::MYSIMADDON24_VERSION, "");
}

void askForScan(std::string_view what, std::string_view changed, bool now) {
    if (!now) {
        say(fmt::format("Your {} will be scanned at the next start of {}, recommended after you have add/removed {}",
                        what, programName, changed));
        return;
    }
    liveriesOutdated = true;
    showStatus(fmt::format("Your {} will be scanned", what), true);
}

void switchNavLights(bool on) {
    // An aircraft that the simulator has yet to create has no number, which would be the user's own.
    for (const AiAircraft& parked : parkedAircraft) {
        if (parked.st == AircraftStatus::active)
            setNavLights(parked.objectid, on);
    }
    for (const LiveAircraft& live : liveAircraft) {
        if (live.fs == FlightState::parked && live.st == AircraftStatus::active)
            setNavLights(live.objectid, on);
    }
}

void tick(BoolBox& box, bool on, bool endsRun) {
    change(box, on);
    noteForAirport(box);
    for (const TickMessage& message : tickMessages) {
        if (&message.box == &box && message.on == on)
            say(fmt::format(fmt::runtime(message.text), programName));
    }
    if (&box == &par::MSFS_2020)
        switchSimulator();
    else if (&box == &par::SCAN_LIVERIES && on)
        askForScan("liveries", "AI aircraft models/liveries", endsRun);
    else if (&box == &par::SCAN_AIRPORTS && on)
        askForScan("airports", "airports", endsRun);
    else if (&box == &par::LIG_AUTOMATIC)
        enableControl(par::AI_PACKAGE_ORDER, on);
    else if (&box == &par::NAV_LIGHTS_WHILE_PARKED)
        switchNavLights(on);
    else if (&box == &par::AUTO_RANGE)
        switchAutoRange(on);
    else if (&box == &par::WEEK)
        parkingWillRespond();
}

void store(IntBox& box, std::int64_t value) {
    if (&box == &par::parking_percentage)
        changeForNow(box, value);
    else
        change(box, value);
}

/// Whether the value has changed.
bool lf_processTbInt(IntBox& box, const std::string& text) {
    if (text.empty()) {
        store(box, &box == &par::parking_percentage ? 0 : box.defaultValue);
    } else {
        const std::optional<std::int32_t> wanted = leadingInt(text);
        if (!wanted || *wanted == box) {
            if (!wanted)
                say(fmt::format("invalid input: {}", text));
            else
                showStatus(fmt::format("Same {} value {}, no changes made", box.name, *wanted), true);
            showValue(box);
            return false;
        }
        store(box, *wanted);
    }
    say(fmt::format("The new {} is {}", box.name, static_cast<std::int32_t>(box)));
    return true;
}

bool lf_processTbFloat(FloatBox& box, const std::string& text) {
    if (text.empty()) {
        changeForNow(box, box.defaultValue);
    } else {
        char* end = nullptr;
        const float wanted = std::strtof(text.c_str(), &end);
        const bool isNumber = end != text.c_str() && wanted - wanted == 0.0F;
        if (!isNumber || wanted == box) {
            if (!isNumber)
                say(fmt::format("invalid input: {}", text));
            else
                showStatus(fmt::format("Same {} value {}, no changes made", box.name, wanted), true);
            showValue(box);
            return false;
        }
        changeForNow(box, wanted);
    }
    say(fmt::format("The new {} is {:.1F}", box.name, box.value.load()));
    return true;
}

void parkingSettingChanged() {
    if (parkAirportLoaded() && !par::INITIAL_LOAD_ONLY)
        parkingWillRespond();
}

void setFromEdit(IntBox& box, const std::string& text) {
    const std::int32_t before = box;
    if (!lf_processTbInt(box, text))
        return;
    noteForAirport(box);
    if (&box == &par::MAX_FIT) // the same in hours
        changeForNow(par::MAX_FIT_FL, static_cast<float>(par::MAX_FIT) * 0.5F + 0.5F);
    if (&box == &par::CUSTOM_MAX_PARK || &box == &par::parking_percentage || &box == &par::MAX_FIT)
        parkingSettingChanged();
    else if (&box == &par::LATERAL_RANGE)
        setRange(static_cast<float>(box));
    else if (&box == &par::MAX_LIVE)
        windowRequests.maxLive = true;
    else if (&box == &par::MATCHING_DEPTH && box > before)
        windowRequests.clearNoMatch = true;
}

void setFromEdit(FloatBox& box, const std::string& text) {
    if (!lf_processTbFloat(box, text))
        return;
    noteForAirport(box);
    if (&box == &par::MAX_FIT_FL) // the same in half-hours
        change(par::MAX_FIT, std::lround((par::MAX_FIT_FL - 0.5F) * 2.0F));
    parkingSettingChanged();
}

std::ptrdiff_t characters(std::string_view utf8) {
    return std::ranges::count_if(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; });
}

void blockCallsign(const std::string& text) {
    const std::string before = par::BLOCK_CALLSIGN.get();
    if (text.empty()) {
        say(fmt::format("no more blocking of live aircraft \"{}\"", before));
        change(par::BLOCK_CALLSIGN, "");
        enableControl(par::unblock, false);
    } else if (text == before) {
        say(fmt::format("callsign \"{}\" was already set ...", text));
    } else if (characters(text) < 4 || characters(text) > 8) {
        say(fmt::format("callsign \"{}\" is not valid", text));
    } else {
        change(par::BLOCK_CALLSIGN, upper(text));
        enableControl(par::unblock, true);
        say(fmt::format("live aircraft with callsign \"{}\" will be blocked", par::BLOCK_CALLSIGN.get()));
        windowRequests.blockNow = true;
    }
}

void takeDestination(const std::string& text) {
    const std::string code = upper(text);
    if (text.empty()) {
        change(par::DESTINATION, "");
        forgetOrder(); // which is by distance again
        say("destination set to empty");
    } else if (text == par::DESTINATION.get()) {
        say(fmt::format("destination \"{}\" was already set ...", text));
    } else if (characters(text) != 4) {
        say(fmt::format("destination \"{}\" is not valid", text));
    } else if (const auto airport = findAirport(code); !airport) {
        say(fmt::format("destination \"{}\" is unknown ...", text));
    } else {
        change(par::DESTINATION, code);
        setDestinationEntry(code, {airport->lat, airport->lon});
        say(fmt::format("New destination: {}", code));
    }
}

void lf_newSimPath(const std::string& text, bool leadsToCommunity) {
    std::error_code ignored;
    if (leadsToCommunity) {
        change(selectedInstallPath(), text);
        say(fmt::format("Community path found, {} will restart ...", programName));
    } else if (!std::filesystem::exists(platform::pathFrom(text), ignored)) {
        say(fmt::format("This install path does not exist: {}", text));
    } else {
        say("This path exists but is not a path to Community ...");
    }
}

void setFromEdit(TextBox& box, const std::string& text, bool endsRun) {
    if (&box == &par::BLOCK_CALLSIGN) {
        blockCallsign(text);
    } else if (&box == &par::DESTINATION) {
        takeDestination(text);
    } else if (&box == &par::ALL_INSTALL_PATH) {
        lf_newSimPath(text, endsRun);
    } else if (&box == &par::CALLSIGN_2_OBJECTID) {
        changeForNow(box, text);
        windowRequests.findCallsign = true;
    }
}

void press(const Button& button) {
    if (&button == &par::unblock) {
        if (par::BLOCK_CALLSIGN.empty())
            say("Nothing to block or unblock...");
        else
            blockCallsign("");
    } else if (&button == &par::reRead) {
        windowRequests.reRead = true;
        enableControl(par::reRead, false);
        enableControl(par::DESTINATION, false);
    } else if (&button == &par::flushStatic) {
        say("All static parked aircraft will be removed ...");
        windowRequests.flushStatic = true;
        enableControl(par::flushStatic, false);
    }
}

/// One call operator per kind of control.
struct Apply {
    const ControlChange& made;

    void operator()(BoolBox* box) const { tick(*box, made.ticked, made.endsRun); }
    void operator()(const Button* button) const { press(*button); }
    void operator()(IntBox* box) const {
        clearStatus();
        setFromEdit(*box, made.text);
    }
    void operator()(FloatBox* box) const {
        clearStatus();
        setFromEdit(*box, made.text);
    }
    void operator()(TextBox* box) const {
        clearStatus();
        setFromEdit(*box, made.text, made.endsRun);
    }
};

void enableRangeBoxes(bool automatic) {
    enableControl(par::LATERAL_RANGE, !automatic);
    enableControl(par::AUTO_RANGE_ABOVE_HEIGHT, automatic);
}

} // namespace

void enableForRun() {
    enableControls(true);
    // These come on when there is what they work on.
    for (const Control* later :
         {static_cast<const Control*>(&par::reRead), static_cast<const Control*>(&par::flushStatic),
          static_cast<const Control*>(&par::CALLSIGN_2_OBJECTID)})
        enableControl(*later, false);
    enableControl(par::AI_PACKAGE_ORDER, par::LIG_AUTOMATIC);
    enableRangeBoxes(par::AUTO_RANGE);
}

void switchAutoRange(bool on) {
    enableRangeBoxes(on);
    if (on) {
        rememberedRange = par::LATERAL_RANGE;
        rangeRule();
        return;
    }
    changeForNow(par::LATERAL_RANGE, rememberedRange);
    setRange(static_cast<float>(par::LATERAL_RANGE));
}

void applyControlChanges() {
    for (const ControlChange& made : takeControlChanges()) {
        try {
            std::visit(Apply{made}, made.control);
        } catch (const std::exception& e) {
            say(exceptionText("lf_HandleWMCOMMAND", e));
        }
    }
}

void forgetOutdatedLiveries() {
    if (!liveriesOutdated)
        return;
    liveriesOutdated = false;
    resetLiveries();
}

} // namespace kes
