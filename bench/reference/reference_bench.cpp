// SPDX-License-Identifier: MIT
// Reading a document of half a million registrations, beside the XML library alone on the same bytes, and the look-ups
// that the scan and the matching make thousands of times.
#include "platform/file.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "reference/reference_tables.h"
#include "reference/scramble.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <pugixml.hpp>
#include <random>
#include <regex>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace kes;

constexpr int registrations = 500000, groups = 640;

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    return out;
}

std::string letters(std::mt19937& random, std::size_t size) {
    std::string text(size, ' ');
    for (char& c : text)
        c = static_cast<char>('A' + random() % 26);
    return text;
}

std::string regcode(int i) {
    // Some of private owners are short enough for titles, as in most states.
    if (i % 250 == 0)
        return fmt::format("N{}{}", i / 250 % 100, static_cast<char>('A' + i / 25000 % 26));
    return fmt::format("{}{}-{:05}", static_cast<char>('A' + i % 26), static_cast<char>('A' + i / 26 % 26), i % 100000);
}

const std::vector<std::string>& types() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> list;
        for (int i = 0; i < 900; ++i)
            list.push_back(fmt::format("{}{:03}", static_cast<char>('A' + i % 26), i));
        return list;
    }();
    return all;
}

std::string publisher(int group, int name) {
    // One in forty has a sign of an expression, one in twenty a dot.
    const char* const form = group % 40 == 0   ? "Sceneries+{} {}"
                             : group % 20 == 1 ? "s.c.e. {} {}"
                                               : "Publisher{} number {}";
    return fmt::format(fmt::runtime(form), group, name);
}

/// Written once, so that the table of every benchmark stands.
const std::string& document() {
    struct File {
        std::string path;
        ~File() {
            std::error_code ignored;
            std::filesystem::remove(path, ignored);
        }
    };
    static const File written{[] {
        std::mt19937 random(1);
        const std::filesystem::path file =
            std::filesystem::temp_directory_path() / fmt::format("kestrelune-bench-{}.xml", getpid());
        std::ofstream out(file, std::ios::binary);
        std::string list, spans;
        for (const std::string& type : types()) {
            list += (list.empty() ? "" : ",") + escaped(encryptModel(type));
            spans += fmt::format("<wingspan type=\"{}\" meters=\"{}\"/>\n", escaped(encryptModel(type)),
                                 10 + spans.size() % 60);
        }
        std::string airlines, names;
        for (int i = 0; i < 5000; ++i)
            airlines += (airlines.empty() ? "" : ",") + escaped(encryptAirline(letters(random, 3)));
        for (int group = 0; group < groups; ++group)
            names += fmt::format("<pub names=\"{},{}\"/>\n", publisher(group, 1), publisher(group, 2));
        for (const auto& [section, child] : {std::pair{"aircrafts", "aircraft"},
                                             {"high_performance", "hpf"},
                                             {"heavy", "hvy"},
                                             {"large", "lar"},
                                             {"buzjet", "bzj"},
                                             {"rotorcraft", "rot"},
                                             {"cargo_types", "cargo_type"}})
            out << fmt::format("<{0}><{1} types=\"{2}\"/></{0}>\n", section, child, list);
        for (const char* section : {"ICAO_airlines", "cargo_operators"})
            out << fmt::format("<{0}><ICAO codes=\"{1}\"/></{0}>\n", section, airlines);
        out << "<publishers>\n" << names << "</publishers>\n<wingspans>\n" << spans << "</wingspans>\n";
        out << "<simaddons20><simaddon20 arpts=\"EHAM\"/></simaddons20>\n<dbase>\n";
        for (int i = 0; i < registrations; ++i)
            out << fmt::format("\t<db reg=\"{}\" airl=\"{}\" type=\"{}\"{}{}/>\n", escaped(encryptRegcode(regcode(i))),
                               escaped(encryptAirline(i % 250 == 0 ? "PVT" : letters(random, 3))),
                               escaped(encryptModel(types()[random() % types().size()])),
                               i % 4 ? "" : fmt::format(" opr=\"{}\"", escaped(encryptAirline(letters(random, 3)))),
                               i % 20 ? "" : " cargo=\"1\"");
        out << "</dbase>\n";
        return file.string();
    }()};
    return written.path;
}

/// The most memory that this process has held since `forgetPeak`, kilobytes; 0 where the system does not tell.
std::size_t peakKb() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t kb = 0;
        if (word == "VmHWM:" && status >> kb)
            return kb;
    }
    return 0;
}
void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// Runs something once per iteration. Of memory the first time counts, from the lean to the greedy: what was given back
/// to the heap stays resident, so a later run's peak starts high.
template <class Work> void measured(benchmark::State& state, Work&& work) {
    (void)document();
    static double above, peak, resident;
    for (auto _ : state) {
        state.PauseTiming();
        resetReference();
        forgetPeak();
        const std::size_t before = platform::residentKb();
        state.ResumeTiming();
        work();
        state.PauseTiming();
        if (peak == 0) {
            peak = static_cast<double>(peakKb());
            above = peak - static_cast<double>(before);
            resident = static_cast<double>(platform::residentKb());
        }
        state.ResumeTiming();
    }
    state.counters["peak_kB"] = peak;
    state.counters["peak_above_start_kB"] = above;
    state.counters["resident_kB"] = resident;
}

void readInPieces(benchmark::State& state) {
    measured(state, [] { readReferenceDocument(document()); });
    state.counters["records"] = static_cast<double>(dbaseSize());
}
BENCHMARK(readInPieces)->Unit(benchmark::kMillisecond)->UseRealTime();

void readAsAWhole(benchmark::State& state) {
    measured(state, [] {
        std::string text;
        platform::readFile(document(), text);
        reference::readDocumentText(std::move(text), document(), reference::ParseAs::whole);
    });
}
BENCHMARK(readAsAWhole)->Unit(benchmark::kMillisecond)->UseRealTime();

void parseAlone(benchmark::State& state) {
    measured(state, [] {
        std::string text;
        platform::readFile(document(), text);
        pugi::xml_document parsed;
        benchmark::DoNotOptimize(parsed.load_buffer_inplace(text.data(), text.size()));
    });
}
BENCHMARK(parseAlone)->Unit(benchmark::kMillisecond)->UseRealTime();

void filled() {
    if (dbaseSize() == 0)
        readReferenceDocument(document());
}

void lookupKnown(benchmark::State& state) {
    filled();
    std::vector<std::string> asked;
    for (int i = 0; i < 4096; ++i)
        asked.push_back(regcode(i * 122));
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
                                          "AIG Cessna 172 Skyhawk N12AB white and blue",
                                          "JF Piper PA28-161 Warrior II generic livery 04", "IVAO_B738_KLM PH-BXA"};
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(regcodeInTitle(titles[i++ % titles.size()]));
}
BENCHMARK(inTitle);

const std::vector<std::string> publisherTexts{
    "C:/Users/me/AppData/Local/Packages/Community/somebody-airport-eham-amsterdam", "publisher77 number 2",
    "Nobody we know", "sXcYeZ 101 1 airports"};

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
