// SPDX-License-Identifier: MIT
#include "airports/airport_errand.h"

#include "airports/airport_source.h"
#include "core/folders.h"
#include "platform/system.h"
#include "update/download.h"

#include <atomic>
#include <chrono>
#include <fmt/format.h>
#include <future>
#include <system_error>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr double samePlaceNm = 0.5; ///< an answer for so near a place is one for this place

/// One question of a kind that is under way.
template <class Question, class Answer> struct Errand {
    Question question;
    std::future<Answer> answer;
};
std::optional<Errand<LatLon, AirportHere>> here;
std::optional<Errand<std::string, AirportBase>> base;
/// What was fetched for `base`. Not set while the thread runs, which asks for it as well.
std::atomic<bool> fetched{false};
std::string fetchedSource;

fs::path fetchedFile() {
    return path::airports / "park_airport.fetched.xml";
}

bool serverIsFolder() {
    return downloadBase().starts_with("file:");
}

AirportHere lookAround(LatLon position) {
    AirportHere found;
    found.airport = closestAirport(position);
    found.hasFile = found.airport && airportFileExists(found.airport->code);
    return found;
}

AirportBase fetchBase(const std::string& code) {
    AirportBase found;
    found.source = airportSource(code);
    if (found.source.empty() || found.source.starts_with(path::airports.generic_string()))
        return found;
    std::string url;
    if (!downloadAirportFile(found.source, fetchedFile(), url))
        found.problem = fmt::format("failed to download: \"{}\"", url);
    return found;
}

template <class Work> auto start(Work work) {
    return std::async(std::launch::async, [work] {
        platform::nameThread("airport errand");
        return work();
    });
}

/// The answer, when it comes within `ms`; the errand is over then.
template <class Question, class Answer>
std::optional<Answer> fetchAnswer(std::optional<Errand<Question, Answer>>& errand, int ms) {
    if (errand->answer.wait_for(std::chrono::milliseconds(ms)) != std::future_status::ready)
        return std::nullopt;
    std::future<Answer> answer = std::move(errand->answer);
    errand.reset();
    return answer.get();
}

} // namespace

std::optional<AirportHere> airportAt(LatLon position, int waitMs) {
    if (!here && serverIsFolder())
        return lookAround(position);
    if (!here) {
        if (base) // both use the same files
            return std::nullopt;
        fetched = false;
        here = {position, start([position] { return lookAround(position); })};
    }
    const LatLon asked = here->question;
    std::optional<AirportHere> answer = fetchAnswer(here, waitMs);
    if (answer && distanceNm(asked, position) > samePlaceNm)
        return std::nullopt; // asks anew the next time
    return answer;
}

void askForBase(std::string_view code) {
    if (base || (here && !fetchAnswer(here, 0)) || serverIsFolder())
        return;
    fetched = false;
    std::string question(code);
    base = {question, start([question] { return fetchBase(question); })};
}

std::optional<AirportBase> airportBase(std::string_view code) {
    if (!base && !here && serverIsFolder())
        return AirportBase{airportSource(code), {}};
    if (!base) {
        askForBase(code);
        return std::nullopt;
    }
    const bool sameAirport = base->question == code;
    std::optional<AirportBase> answer = fetchAnswer(base, 0);
    if (!answer || !sameAirport)
        return std::nullopt;
    fetchedSource = answer->source;
    fetched = answer->problem.empty();
    return answer;
}

bool takeFetched(std::string_view source, const fs::path& target) {
    if (!fetched || source != fetchedSource)
        return false;
    fetched = false;
    std::error_code error;
    fs::rename(fetchedFile(), target, error);
    return !error;
}

void endErrands() {
    here.reset(); // each waits for its thread
    base.reset();
    fetched = false;
    fetchedSource.clear();
}

} // namespace kes
