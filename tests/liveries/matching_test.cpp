// SPDX-License-Identifier: MIT
// The search for a livery against the same rules once more, slowly, over all records.
#include "store_folder.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

namespace kes::test {
namespace {

struct Matching : StoreFolder {
    static AiAircraft aircraft(const std::string& airline, const std::string& model, const std::string& regcode = "",
                               bool cargo = false) {
        AiAircraft a;
        a.airline = airline;
        a.model = model;
        a.regcode = regcode;
        a.cargo = cargo;
        a.category = categoryOf(model);
        return a;
    }
};

TEST_F(Matching, RefusedTitlesCountForNothing) {
    par::RANDOM.value = false;
    par::LOG.value = true;
    install({livery("DLH", "A320", "FSLTL_ one"), livery("DLH", "A321", "two"), livery("ZZZ", "A320", "any")});
    AiAircraft a = aircraft("DLH", "A320");
    const auto before = stepCounters();
    EXPECT_EQ(matchLive(a), 2);
    EXPECT_TRUE(a.reverseThrust);
    EXPECT_TRUE(program.logHas(fmt::format("          {} =2= FSLTL_ one\n", longLabel(a))));
    EXPECT_EQ(stepCounters()[1], before[1] + 1);
    refuseTitle("FSLTL_ one", "A320", "DLH");
    refuseTitle("FSLTL_ one", "A320", "DLH");
    a.title = {};
    EXPECT_EQ(matchLive(a), 0) << "and no further step is tried";
    EXPECT_EQ(stepCounters()[1], before[1] + 1);
    EXPECT_EQ(refusedTitleCount(), 1u);
    writeMatchingSummary();
    const std::string stars(31, '*');
    EXPECT_TRUE(program.logHas("\n" + stars + " live traffic livery matching summary " + stars +
                               "\nMatches at step: \n  1: 0\n  2: 1\n"));
    EXPECT_TRUE(program.logHas("\nCould not be created by MSFS:\n  A320 DLH\n" + std::string(100, '*') + "\n"));
}

TEST_F(Matching, ParkedAircraftTakeTheKindOfTheirStand) {
    par::RANDOM.value = false;
    par::LOG.value = true;
    install({livery("DLH", "A320", "pax"), livery("DLH", "A320", "freight", "", true), livery("DLH", "B77W", "heavy")});
    AiAircraft a = aircraft("DLH", "A320");
    EXPECT_TRUE(matchStatic(a, {"A 1", true}));
    EXPECT_EQ(a.title, "freight");
    EXPECT_TRUE(a.cargo);
    EXPECT_TRUE(matchStatic(a, {"A 1", false}));
    EXPECT_EQ(a.title, "freight") << "it had one";
    EXPECT_TRUE(program.logHas("=s= freight"));
    AiAircraft b = aircraft("DLH", "B738");
    EXPECT_TRUE(matchStatic(b, {"A 2", false})) << "similar models of another category are good enough here";
    EXPECT_EQ(b.title, "heavy");
    AiAircraft c = aircraft("AFR", "B738");
    EXPECT_FALSE(matchStatic(c, {"A 3", false}));
    EXPECT_TRUE(program.logHas(fmt::format("A 3     : {} no livery match ...\n", shortLabel(c))));
    refuseTitle("pax", "A320", "DLH");
    AiAircraft d = aircraft("DLH", "A320");
    EXPECT_FALSE(matchStatic(d, {"A 4", false}));
    EXPECT_EQ(stepCounters(), (std::array<std::uint32_t, 6>{})) << "live aircraft only";
}

/// The rules over a flat list of everything that is installed, as a plain sequence of draws from a copy of the
/// generator: chance leads to one title, and a draw too many or too few shows in the generator.
struct Replay {
    const std::vector<Livery>& all;
    const std::vector<std::vector<std::string>>& groups;
    std::set<std::string> specials;
    std::map<std::string, std::string> regcodes; ///< registration to title
    std::map<std::string, ReferenceText::Airframe> airframes;

    std::string lookup(const std::map<std::string, std::string>& table, const std::string& reg) const {
        for (const std::string& form : regcodeVariants(reg)) {
            if (table.contains(form))
                return table.at(form);
        }
        return "";
    }
    bool installed(const std::string* airline, const std::string& model) const {
        return std::any_of(all.begin(), all.end(),
                           [&](const Livery& l) { return (!airline || l.airline == *airline) && l.model == model; });
    }
    /// Of the groups that hold the model, the one whose list comes first in the alphabet counts.
    std::vector<std::string> similar(const std::string& model) const {
        std::set<std::string> texts;
        for (std::vector<std::string> group : groups) {
            std::sort(group.begin(), group.end());
            if (std::find(group.begin(), group.end(), model) == group.end())
                continue;
            std::string text;
            for (const std::string& other : group) {
                if (other != model && installed(nullptr, other))
                    text += "," + other;
            }
            if (!text.empty())
                texts.insert(text);
        }
        std::vector<std::string> list;
        if (!texts.empty()) {
            std::istringstream in(*texts.begin());
            for (std::string code; std::getline(in, code, ',');) {
                if (!code.empty())
                    list.push_back(code);
            }
        }
        return list;
    }
    std::vector<std::string> similarOf(const std::string& airline, const std::string& model) const {
        std::vector<std::string> list;
        if (installed(&airline, model))
            return list;
        for (const std::string& other : similar(model)) {
            if (installed(&airline, other))
                list.push_back(other);
        }
        return list;
    }

    std::mt19937 random{};
    bool chance = false;
    std::set<std::string> refused{};

    std::size_t pick(std::size_t n) { return chance && n > 1 ? random() % n : 0; }
    std::vector<std::string> mixed(std::vector<std::string> list) {
        if (chance && list.size() > 1)
            std::shuffle(list.begin(), list.end(), random);
        return list;
    }
    std::string choose(const std::string* airline, const std::string& model, bool cargo) {
        std::vector<std::string> list, open;
        for (const Livery& l : all) {
            if ((!airline || l.airline == *airline) && l.model == model && l.cargo == cargo)
                list.push_back(l.title);
        }
        if (list.empty())
            return "";
        std::sort(list.begin(), list.end());
        std::string title = list[pick(list.size())];
        for (int i = 0; i < 5; ++i) {
            if (!specials.contains(title))
                return title;
            title = list[pick(list.size())];
        }
        for (const std::string& each : list) {
            if (!specials.contains(each))
                open.push_back(each);
        }
        return open.empty() ? "" : open[pick(open.size())];
    }
    std::string either(const std::string& airline, const std::string& model, bool cargo) {
        std::string title = choose(&airline, model, cargo);
        return title.empty() && cargo ? choose(&airline, model, false) : title;
    }
    std::vector<std::string> similarAnywhere(const std::string& model) {
        if (std::vector<std::string> list = similar(model); !list.empty())
            return mixed(list);
        const AircraftCategory category = categoryOf(model);
        std::set<std::string> models;
        for (const Livery& l : all) {
            if (categoryOf(l.model) == category)
                models.insert(l.model);
        }
        if (models.empty() || category == AircraftCategory::large || category == AircraftCategory::heavy ||
            category == AircraftCategory::highPerf)
            return {};
        return {*std::next(models.begin(), static_cast<std::ptrdiff_t>(pick(models.size())))};
    }
    /// Step and title; the title is empty when the simulator refused it.
    std::pair<int, std::string> find(AiAircraft a, int depth, const StandUse* stand) {
        const auto [step, title] = unrefused(a, depth, stand);
        return title.empty() || refused.contains(title) ? std::pair(0, std::string()) : std::pair(step, title);
    }
    std::pair<int, std::string> unrefused(AiAircraft& a, int depth, const StandUse* stand) {
        std::string title;
        if (!(title = lookup(regcodes, a.regcode)).empty())
            return {1, title};
        if (stand)
            a.cargo = stand->cargo;
        if (depth < 2)
            return {};
        if (a.airline == "PVT" && !(title = either("ZZZ", a.model, a.cargo)).empty())
            return {4, title};
        std::string alternative;
        for (const std::string& form : regcodeVariants(a.regcode)) {
            if (airframes.contains(form)) {
                alternative = airframes.at(form).opr.empty() ? "" : airframes.at(form).airl;
                break;
            }
        }
        if (stand || !a.airline.empty()) {
            if (!(title = either(a.airline, a.model, a.cargo)).empty())
                return {2, title};
            if (!alternative.empty() && !(title = either(alternative, a.model, a.cargo)).empty())
                return {2, title};
            if (depth < 3)
                return {};
            std::vector<std::string> wornBy{a.airline};
            if (!alternative.empty())
                wornBy.push_back(alternative);
            for (const std::string& worn : wornBy) {
                for (const std::string& m : mixed(similarOf(a.airline, a.model))) {
                    if ((stand || categoryOf(m) == a.category) && !(title = either(worn, m, a.cargo)).empty())
                        return {3, title};
                }
            }
        }
        if (depth < 3)
            return {};
        const bool small = a.category == AircraftCategory::light || a.category == AircraftCategory::buzjets ||
                           a.category == AircraftCategory::rotorcraft;
        if ((depth == 4 || small) && !(title = either("ZZZ", a.model, a.cargo)).empty())
            return {4, title};
        if (!small)
            return {};
        if (!(title = choose(nullptr, a.model, a.cargo)).empty())
            return {5, title};
        for (const std::string& m : similarAnywhere(a.model)) {
            if (!(title = choose(nullptr, m, a.cargo)).empty())
                return {6, title};
        }
        return {};
    }
};

TEST_F(Matching, AgreesWithASlowSearchThroughEverything) {
    std::mt19937 random(23);
    const auto pick = [&](const std::vector<std::string>& list) { return list[random() % list.size()]; };
    const std::vector<std::string> airlines{"DLH", "ZZZ", "AFR", "PVT"};
    const std::vector<std::string> models{"B738", "B77W", "A319", "A320", "C25A", "A321",
                                          "C680", "EC35", "F16",  "C172", "P28A", "DA40"};
    text.similar.push_back({"A320", "B738"});
    text.similar.push_back({"C25A", "C172", "EC35"});
    std::map<int, int> steps;
    int refusals = 0, crowded = 0;
    for (int world = 0; world < 50; ++world) {
        resetLiveries();
        text.airframes.clear();
        std::vector<Livery> all;
        Replay replay{all, text.similar, {}, {}, {}};
        std::string regcodes;
        // Few airlines and models in some worlds, so that lists are long.
        const std::vector<std::string> worn(airlines.begin(), airlines.begin() + 1 + static_cast<int>(random() % 4));
        const std::vector<std::string> flown(models.end() - 1 - static_cast<int>(random() % 12), models.end());
        const int size = 1 + static_cast<int>(random() % 90);
        const std::uint32_t specialOf8 = random() % 8; // up to lists with hardly a title that is open
        for (int i = 0; i < size; ++i) {
            all.push_back(livery(pick(worn), pick(flown), fmt::format("title {}", i), "", random() % 4 == 0));
            if (random() % 8 < specialOf8) {
                const std::string reg = fmt::format("D-S{:03}", i);
                regcodes += fmt::format("title {};{}\n", i, reg);
                replay.specials.insert(all.back().title);
                replay.regcodes[reg] = all.back().title;
            }
        }
        for (int i = 0; i < 6; ++i) {
            text.airframes.push_back(
                {fmt::format("D-A{:03}", i), pick(airlines), pick(models), random() % 4 ? pick(airlines) : "", false});
            replay.airframes[text.airframes.back().reg] = text.airframes.back();
        }
        putRegcodes("r.txt", regcodes);
        install(all);
        for (int i = 0; i < size; i += 7) {
            refuseTitle(all[static_cast<std::size_t>(i)].title, "", "");
            replay.refused.insert(all[static_cast<std::size_t>(i)].title);
        }
        for (int i = 0; i < 300; ++i) {
            AiAircraft a = aircraft(random() % 8 ? pick(airlines) : "", pick(models), "", random() % 4 == 0);
            if (random() % 2 == 0)
                a.regcode =
                    random() % 6 ? fmt::format("D-A{:03}", random() % 6) : fmt::format("DS{:03}", random() % 90);
            const int depth = 1 + static_cast<int>(random() % 4);
            const StandUse stand{"A 1", random() % 2 == 0};
            const bool parked = random() % 3 == 0;
            par::MATCHING_DEPTH.value = depth;
            par::RANDOM.value = replay.chance = random() % 4 != 0;
            replay.random = generator();
            const auto [step, title] = replay.find(a, depth, parked ? &stand : nullptr);
            const AiAircraft asked = a;
            const auto counted = stepCounters();
            const int got = parked ? (matchStatic(a, stand) ? step : 0) : matchLive(a);
            ASSERT_TRUE(a.title == title && got == step && generator() == replay.random)
                << (parked ? "parked " : "live ") << asked.airline << " " << asked.model << " '" << asked.regcode
                << "' cargo " << asked.cargo << " depth " << depth << " random " << replay.chance << ": wanted " << step
                << " " << title << ", got " << got << " " << a.title
                << (generator() == replay.random ? "" : ", and a different number of draws");
            ASSERT_EQ(std::accumulate(stepCounters().begin(), stepCounters().end(), 0u),
                      std::accumulate(counted.begin(), counted.end(), parked || step == 0 ? 0u : 1u));
            ++steps[step];
            refusals += step == 0 && !replay.refused.empty();
            crowded += step != 0 && specialOf8 > 5;
        }
    }
    for (int step = 0; step <= 6; ++step)
        EXPECT_GT(steps[step], 50) << "too few cases of step " << step;
    EXPECT_GT(refusals, 100);
    EXPECT_GT(crowded, 100);
}

} // namespace
} // namespace kes::test
