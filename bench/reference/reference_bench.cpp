// SPDX-License-Identifier: MIT
// The look-ups that the scan and the matching make thousands of times, in a full data base.
#include "bench/reference/full_reference.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "reference/reference_tables.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <regex>
#include <string>
#include <vector>

namespace {

using namespace kes;

void filled() {
    if (dbaseSize() == 0)
        reference::readDocumentText(bench::fullReference(), "document.xml");
}

void lookupKnown(benchmark::State& state) {
    filled();
    std::vector<std::string> asked;
    for (std::size_t i = 0; i < 4096; ++i)
        asked.push_back(bench::regcode(i * 122));
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(lookupRegcode(asked[i++ % asked.size()]));
}
BENCHMARK(lookupKnown);

void lookupUnknownInThreeForms(benchmark::State& state) {
    filled();
    std::vector<std::string> asked;
    for (int i = 0; i < 4096; ++i)
        asked.push_back(fmt::format("XY{:04}", i));
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(lookupRegcode(asked[i++ % asked.size()]));
}
BENCHMARK(lookupUnknownInThreeForms);

void inTitle(benchmark::State& state) {
    filled();
    const std::vector<std::string> titles{"FSLTL A320 Neo British Airways G-TTNA",
                                          "AIG Cessna 172 Skyhawk N103AA white and blue",
                                          "JF Piper PA28-161 Warrior II generic livery 04", "IVAO_B738_KLM PH-BXA"};
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(regcodeInTitle(titles[i++ % titles.size()]));
}
BENCHMARK(inTitle);

const std::vector<std::string> publisherTexts{
    "C:/Users/me/AppData/Local/Packages/Community/somebody-airport-eham-amsterdam", "a scenery of maker77",
    "Nobody we know", "sXcYeZ 101 airports"};

void publisherFound(benchmark::State& state) {
    filled();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(publisherOf(publisherTexts[i++ % publisherTexts.size()]));
}
BENCHMARK(publisherFound);

/// To the letter, but with all expressions made beforehand.
void publisherByExpressionsAlone(benchmark::State& state) {
    filled();
    std::vector<std::pair<std::string, std::regex>> names;
    for (const auto& group : referenceData().publisherGroups)
        for (const std::string& name : group)
            names.emplace_back(name, std::regex(".*" + name + ".*", std::regex::ECMAScript | std::regex::icase));
    std::size_t i = 0;
    for (auto _ : state) {
        const std::string& text = publisherTexts[i++ % publisherTexts.size()];
        for (const auto& [name, expression] : names)
            if (text.find(name) != std::string::npos || std::regex_match(text, expression))
                break;
    }
}
BENCHMARK(publisherByExpressionsAlone)->Unit(benchmark::kMicrosecond);

} // namespace
