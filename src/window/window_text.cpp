// SPDX-License-Identifier: MIT
#include "window/window_text.h"

#include "core/clock.h"
#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/version.h"
#include "feed/traffic_reader.h"

#include <fmt/format.h>
#include <utility>

namespace kes {

namespace {

/// Columns and rows of what has no control beside it.
constexpr int left = 5, row1 = 8, row2 = 36, row3 = 60, row4 = 84, row5 = 399, row6 = 427;

std::string counted(std::string_view name, std::int32_t count) {
    return count < 0 ? fmt::format("# {}: ...", name) : fmt::format("# {}: {}", name, count);
}

std::string forHandOver() {
    const std::int32_t count = readouts.tbloFiles;
    return count == 0 ? "" : fmt::format("{} airport{} in {} folder", count, plural(count), "TBLO");
}

std::string maxPark() {
    if (readouts.maxPark < 0)
        return "no max park live";
    return fmt::format("max park: {:3} (={} %)", readouts.maxPark.load(), readouts.maxParkPercent.load());
}

std::string averageFit() {
    const float hours = readouts.averageFit;
    return hours < 0 ? fmt::format("average fit: {}", "-") : fmt::format("average fit: {:.1F}", hours);
}

std::string userAircraftText() {
    const std::string title = readoutText(Readout::userTitle), model = readoutText(Readout::userModel);
    if (title.empty() || model.empty())
        return title + model;
    return fmt::format("{} ({}){}", title, model, readouts.spanMark ? " *" : "");
}

std::string userPlace() {
    const std::string stand = readoutText(Readout::userStand);
    return stand.empty() ? stand : ", user stand " + stand;
}

std::string dayAndTime() {
    static constexpr const char* days[] = {"", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    const HhNow now = hhNow();
    if (now.day < 1 || now.day > 7)
        return {};
    const std::int32_t week = readouts.trafficWeek;
    return fmt::format(" {}, {}{}, wk={}", days[now.day], hhmmTime(trafficReader.timestamp), "z",
                       week > 0 ? std::to_string(week) : "-");
}

std::string parkedText() {
    std::string text =
        fmt::format("parked live: {:3}, parked static: {:3}", readouts.parkedLive.load(), readouts.parkedStatic.load());
    if (readouts.meanParkedMinutes > 0)
        text += fmt::format("  (average {} min)", readouts.meanParkedMinutes.load());
    return text;
}

} // namespace

void buildWindowTexts(std::vector<DrawnText>& texts) {
    std::size_t count = 0;
    const auto put = [&](int x, int y, int width, std::string text, Tone tone = Tone::normal) -> DrawnText& {
        if (count == texts.size())
            texts.emplace_back();
        DrawnText& drawn = texts[count++];
        drawn = {x, y, width, tone, std::move(text)};
        return drawn;
    };
    const auto lamp = [](DrawnText& drawn, Lamp shown) {
        drawn.hasLamp = true;
        drawn.lamp = shown;
        if (shown == Lamp::off || shown == Lamp::stopped)
            drawn.tone = Tone::grey;
    };
    const std::string publisher = readoutText(Readout::publisher);
    const std::string quality = readoutText(Readout::quality);
    const std::int32_t minutes = readouts.minutesToRenewal;
    const bool active = readouts.parkingActive;

    put(left, row1, 135, std::string(programName), Tone::title);
    put(145, row1, 120, fmt::format("Version {}", programVersionText));
    put(275, row1, 125, fmt::format("MSFS 20{} mode", par::MSFS_2020 ? "20" : "24"), Tone::highlight);
    lamp(put(410, row1, 220, readouts.simLight ? readoutText(Readout::simName) : "Simulator"),
         readouts.simLight ? Lamp::receiving : Lamp::off);
    lamp(put(640, row1, 235, readoutText(Readout::edition).empty() ? "RealTraffic" : readoutText(Readout::edition)),
         readouts.rtLight ? Lamp::receiving : Lamp::off);

    put(left, row2, 135, counted("liveries", readouts.liveries));
    put(145, row2, 125, counted("simaddon", readouts.simaddonFiles));
    put(275, row2, 125, counted("thirdp", readouts.thirdpartyFiles));
    lamp(put(410, row2, 110, "Traffic"), readouts.trafficLamp);
    lamp(put(525, row2, 105, "Weather"), readouts.weatherLamp);
    put(640, row2, 120, fmt::format("qnh: {:4}", readouts.qnh.load()));
    put(765, row2, 110, rtProfEdition && trafficReader.timestamp != 0.0 ? "*S*" : "", Tone::highlight);

    put(left, row3, 100, fmt::format("live: {:3}", readouts.live.load()), Tone::highlight);
    put(145, row3, 260, parkedText());
    put(410, row3, 465, readoutText(Readout::parkAirport), Tone::highlight);

    put(left, row4, 400, userAircraftText());
    put(410, row4, 225, userPlace());
    const std::string kept = readoutText(Readout::keptStand);
    put(640, row4, 235, kept.empty() ? "" : fmt::format("reserved stand: {}", kept));

    put(217, 175, 430, forHandOver(), Tone::grey);
    put(550, 259, 325, readoutText(Readout::foundObject), Tone::highlight);
    put(left, 315, 205, fmt::format("Airport parking{}", active ? " active" : ""),
        active ? Tone::highlight : Tone::normal);
    put(745, 343, 130, readoutText(Readout::destination));
    put(690, 371, 185, minutes >= 0 && active ? fmt::format("(next in {} min)", minutes) : "", Tone::grey);

    put(left, row5, 100, fmt::format("# stands: {:3}", readouts.stands.load()));
    put(110, row5, 110, fmt::format("# updates: {:4}", readouts.updates.load()));
    put(225, row5, 115, averageFit());
    put(345, row5, 165, maxPark(), readouts.maxPark < 0 ? Tone::grey : Tone::normal);
    put(515, row5, 120, strip(quality).empty() ? "" : fmt::format("qf: {}", quality));
    put(640, row5, 235, publisher + (readouts.handmade ? ", handmade" : ""));

    put(left, row6, 300, dayAndTime());
    const float rate = readouts.simFrameRate;
    put(640, row6, 235, readouts.simLight && rate > 0 ? fmt::format("{:.0F} frames/s", rate) : "", Tone::grey);
    texts.resize(count);
}

} // namespace kes
