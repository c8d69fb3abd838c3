// SPDX-License-Identifier: MIT
#include "sim/user_recognition.h"

#include "core/errors.h"
#include "core/units.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "reference/reference.h"
#include "sim/from_simulator.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kes {

namespace {

constexpr std::size_t shownCharacters = 48;

std::string userTitle;

/// The first characters of a UTF-8 text, none of them cut in two. A byte that belongs to no character counts as one.
std::string_view firstCharacters(std::string_view text, std::size_t count) {
    std::size_t at = 0;
    for (; count > 0 && at < text.size(); --count) {
        const auto lead = static_cast<unsigned char>(text[at++]);
        for (int more = lead < 0xC0   ? 0
                        : lead < 0xE0 ? 1
                        : lead < 0xF0 ? 2
                                      : 3;
             more > 0 && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; --more)
            ++at;
    }
    return text.substr(0, at);
}

bool contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

/// The code in front of the mark of a text that names a resource: four characters or three, whatever is a type.
std::string_view codeBefore(std::string_view text, std::size_t mark) {
    const auto before = [&](std::size_t length) {
        return mark < length ? std::string_view() : text.substr(mark - length, length);
    };
    const auto hasSpan = [](std::string_view code) { return referenceData().wingspanByType.contains(code); };
    for (const std::size_t length : {4u, 3u}) {
        if (hasSpan(before(length)))
            return before(length);
    }
    for (const std::size_t length : {4u, 3u}) { // a type without a span of its own is better than none
        if (modelExists(before(length)))
            return before(length);
    }
    return text;
}

using Renames = std::initializer_list<std::pair<std::string_view, std::string_view>>;

std::string_view modelFrom(std::string_view text) {
    for (const auto& [wrong, code] :
         Renames{{"A350-900", "A359"}, {"N738B", "B38M"}, {"777", "772"}, {"A330-200 (RR)", "A332"}}) {
        if (text == wrong)
            return code;
    }
    if (const std::size_t mark = text.find(".0.text"); mark != std::string_view::npos)
        return codeBefore(text, mark);
    if (text.starts_with("$$:") && text.size() >= 5)
        return text.substr(3);
    if (text == "737") {
        for (const auto& [part, code] :
             Renames{{"DG 737-800", "B738"}, {"DG 737-700", "B737"}, {"DG 737-600", "B736"}, {"DG 737-900", "B739"}}) {
            if (contains(userTitle, part))
                return code;
        }
    }
    return text;
}

/// The type of an aircraft whose model says nothing but whose title does; empty = none.
std::string_view modelFromTitle() {
    for (const auto& [start, code] :
         Renames{{"Aerosoft A319", "A319"}, {"Aerosoft A320", "A320"}, {"Aerosoft A321", "A321"}}) {
        if (userTitle.starts_with(start))
            return code;
    }
    return {};
}

void logIndentedLimited(const std::string& text) {
    simulatorLog.write("          " + text);
}

void showModel(std::string_view model) {
    setReadout(Readout::userModel, model);
    repaint();
}

void takeEncrypted() {
    showModel("Unknown (encrypted?) aircraft");
    showFromSimulator("171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead", true);
    const double span = wingspanOf("CRJ7");
    userSpan = span != 0.0 ? span : maxWingspan();
    userSpanKnown = true;
}

void recognise(std::string_view text) {
    if (text.empty()) {
        takeEncrypted();
        return;
    }
    logIndentedLimited(fmt::format("model raw: {} ", readable(text)));
    std::string_view model = modelFrom(text);
    // One line tells all that was found out; it is written when the rest of it is known.
    std::string line = fmt::format("SimConnect: User aircraft model: {}", readable(model));
    showModel(readable(model));
    if (contains(model, "camerapod") || contains(model, "Crew Vessel")) {
        logIndentedLimited(line);
        userSpan = wingspanOf("E190");
        userSpanKnown = true;
        return;
    }
    double span = model.size() < 5 ? wingspanOf(model) : maxWingspan();
    if (span == maxWingspan()) {
        if (const std::string_view code = modelFromTitle(); !code.empty()) {
            logIndentedLimited(line);
            model = code;
            line = fmt::format("SimConnect: User aircraft model deduced from title: {}", model);
            span = wingspanOf(model);
        }
        if (span == maxWingspan() || span == 0.0) {
            span = maxWingspan();
            showFromSimulator("User aircraft wing span unknown, max is taken instead, please report in my Forum!",
                              true);
        }
    }
    userSpan = span;
    const bool known = span != 0.0; // all spans are 0 without a data base
    if (known) {
        readouts.spanMark = true;
        repaint();
        line += fmt::format(", half wing span: {:.1F} meter", span * metresPerNm);
    }
    userCategory = categoryOf(model);
    logIndentedLimited(line + fmt::format(", category: {}", kes::text(userCategory)));
    // Last, because the worker reads the others as soon as this is set.
    if (known)
        userSpanKnown = true;
}

} // namespace

void onUserTitle(std::string_view title) {
    if (const std::string_view shown = firstCharacters(title, shownCharacters); shown != userTitle) {
        setReadout(Readout::userTitle, readable(shown));
        repaint();
    }
    userTitle = title;
    logIndentedLimited(fmt::format("SimConnect: User aircraft title: {}", readable(title)));
    if (title.empty())
        simulatorLog.write("! title of your ac is empty?");
}

void onUserModel(std::string_view model) {
    constexpr const char* noAircraft = "It looks like you have not selected an aircraft as user vehicle";
    try {
        recognise(model);
    } catch (const nwk::UserErrorException&) {
        throw;
    } catch (...) {
        throw nwk::UserErrorException(73, noAircraft);
    }
}

void resetUserRecognition() {
    userTitle.clear();
}

} // namespace kes
