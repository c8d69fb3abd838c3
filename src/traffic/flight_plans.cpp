// SPDX-License-Identifier: MIT
#include "traffic/flight_plans.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "platform/output.h"
#include "platform/system.h"
#include "sim/ai_commands.h"

#include <filesystem>
#include <fmt/format.h>
#include <system_error>

namespace kes {

namespace {

constexpr std::string_view planText = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                      "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\n"
                                      "<FlightPlan.FlightPlan>\n"
                                      "<FPType>{}</FPType>\n"
                                      "<DepartureID>{}</DepartureID>\n"
                                      "<DestinationID>{}</DestinationID>\n"
                                      "</FlightPlan.FlightPlan>\n"
                                      "</SimBase.Document>\n";

std::filesystem::path planFile(std::uint32_t objectid) {
    return flightPlanFolder() / fmt::format("{}.pln", objectid);
}

bool fliesByInstruments(AircraftCategory category) {
    return category == AircraftCategory::buzjets || category == AircraftCategory::large ||
           category == AircraftCategory::heavy;
}

/// As the text of an XML element. What XML cannot hold at all is left out.
std::string escaped(std::string_view text) {
    std::string xml;
    for (const char c : text) {
        if (c == '&')
            xml += "&amp;";
        else if (c == '<')
            xml += "&lt;";
        else if (c == '>')
            xml += "&gt;";
        else if (c >= ' ' && c <= '~')
            xml += c;
    }
    return xml;
}

bool writePlan(const LiveAircraft& a, const std::filesystem::path& file) {
    std::string error;
    return platform::writeSmallFile(
        file, fmt::format(planText, fliesByInstruments(a.category) ? "IFR" : "VFR", escaped(a.orig), escaped(a.dest)),
        error);
}

bool writeAndSet(const LiveAircraft& a) {
    try {
        const std::filesystem::path file = planFile(a.objectid);
        return writePlan(a, file) && (!par::MSFS_2020 || setFlightPlan(a.objectid, platform::pathText(file)));
    } catch (const std::exception&) {
        return false; // not every folder's name can be put as text
    }
}

/// The thrown texts name the operations alike on every system.
void createUnlessThere(const std::filesystem::path& folder) {
    std::error_code error;
    const bool there = std::filesystem::exists(folder, error);
    if (error)
        throw std::filesystem::filesystem_error("exists", folder, error);
    if (!there && !std::filesystem::create_directory(folder, error) && error)
        throw std::filesystem::filesystem_error("create_directory", folder, error);
}

} // namespace

void prepareFlightPlanFolders() {
    createUnlessThere(userDataFolder());
    createUnlessThere(flightPlanFolder());
}

void writeFlightPlan(LiveAircraft& a) {
    if (a.orig.empty() || a.dest.empty())
        return;
    a.flightPlanSet = writeAndSet(a);
    if (!a.flightPlanSet)
        log(fmt::format("{} creating a flight plan failed", shortLabel(a)));
}

void deleteFlightPlan(std::uint32_t objectid) {
    std::error_code ignored; // the folder goes with all its files at the end of the run
    std::filesystem::remove(planFile(objectid), ignored);
}

void gf_removeFlightPlanFolder() {
    try {
        if (std::filesystem::exists(flightPlanFolder()))
            std::filesystem::remove_all(flightPlanFolder());
    } catch (const std::exception& e) {
        const std::string text = fmt::format("gf_removeFlightPlanFolder: {}", e.what());
        log(text);
        showStatus(text, false);
    }
}

} // namespace kes
