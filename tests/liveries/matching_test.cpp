// SPDX-License-Identifier: MIT
// Which livery an aircraft gets: by each step, by chance, and after the simulator has refused one.
#include "core/text.h"
#include "store_folder.h"

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

/// Liveries as "AIRLINE/MODEL/title" with "/REGCODE" and "/cargo" behind it; a star marks the title of one airframe.
struct MatchingSteps : Matching {
    MatchingSteps() {
        text.types[AircraftCategory::rotorcraft].push_back("R44");
        text.airframes = {{"D-LENT", "AFR", "A320", "DLH", false}, {"D-OWNS", "AFR", "A320", "", false}};
        par::LOG.value = true;
    }
    void installAll(const std::string& list) {
        resetLiveries();
        std::vector<Livery> all;
        std::string regcodes;
        for (const std::string& one : words(list)) {
            auto parts = split(one, '/');
            const bool cargo = parts.back() == "cargo";
            parts.resize(cargo ? parts.size() - 1 : parts.size());
            const bool special = parts[2].starts_with('*');
            const std::string title(parts[2].substr(special ? 1 : 0));
            all.push_back(livery(std::string(parts[0]), std::string(parts[1]), title,
                                 std::string(parts.size() > 3 ? parts[3] : ""), cargo));
            if (special)
                regcodes += title + ";D-S" + title + "\n";
        }
        putRegcodes("r.txt", regcodes);
        install(all);
    }
    /// "AIRLINE MODEL", with a registration and "cargo" behind it; a dash for no airline.
    static AiAircraft aircraftOf(const std::string& line) {
        const auto parts = words(line);
        const bool cargo = parts.back() == "cargo";
        const std::string regcode = parts.size() > (cargo ? 3U : 2U) ? parts[2] : "";
        return aircraft(parts[0] == "-" ? "" : parts[0], parts[1], regcode, cargo);
    }
};

TEST_F(MatchingSteps, GiveTheFirstLiveryThatFits) {
    enum Place { live, gate, cargoStand };
    struct Row {
        const char *name, *installed, *wanted;
        int depth;
        const char* found; ///< step and title
        Place place = live;
    };
    const Row rows[] = {
        {"its registration, in whatever paint", "DLH/A320/own/D-AIPA DLH/A321/b", "DLH A321 DAIPA", 1, "1 own"},
        {"the livery of one airframe", "DLH/A320/*a DLH/A320/b", "DLH A320 D-Sa", 1, "1 a"},
        {"nothing else at depth 1", "DLH/A320/a", "DLH A320", 1, "0 "},
        {"airline and type", "AFR/A320/x DLH/A320/a DLH/A321/y", "DLH A320", 2, "2 a"},
        {"none that belongs to another airframe", "DLH/A320/*a DLH/A320/b", "DLH A320", 2, "2 b"},
        {"rather none at all", "DLH/A320/*a", "DLH A320", 4, "0 "},
        {"a freighter", "DLH/A320/a DLH/A320/f/cargo", "DLH A320 cargo", 2, "2 f"},
        {"a freighter in passengers' paint", "DLH/A320/a", "DLH A320 cargo", 2, "2 a"},
        {"no passengers in a freighter's paint", "DLH/A320/f/cargo", "DLH A320", 4, "0 "},
        {"a cargo stand makes a freighter", "DLH/A320/a DLH/A320/f/cargo", "DLH A320", 2, "2 f", cargoStand},
        {"a gate makes none", "DLH/A320/a DLH/A320/f/cargo", "DLH A320 cargo", 2, "2 a", gate},
        {"the paint of the airframe's owner", "AFR/A320/own ZZZ/A320/any", "DLH A320 D-LENT", 2, "2 own"},
        {"first that of who flies it", "AFR/A320/own DLH/A320/its", "DLH A320 D-LENT", 2, "2 its"},
        {"not when its owner flies it himself", "AFR/A320/own", "DLH A320 D-OWNS", 2, "0 "},
        {"no similar type at depth 2", "DLH/A321/b", "DLH A320", 2, "0 "},
        {"a similar type", "DLH/A321/b DLH/A319/a", "DLH A320", 3, "3 a"},
        {"a freighter of a similar type", "DLH/A321/b DLH/A321/f/cargo", "DLH A320 cargo", 3, "3 f"},
        {"none while the airline has the type", "DLH/A320/f/cargo DLH/A321/b", "DLH A320", 3, "0 "},
        {"none of another category", "DLH/B77W/w", "DLH B738", 4, "0 "},
        {"but at a gate", "DLH/B77W/w", "DLH B738", 3, "3 w", gate},
        {"a similar type of the owner", "DLH/A321/f/cargo AFR/A321/own", "DLH A320 D-LENT", 3, "3 own"},
        {"the generic one", "ZZZ/A320/any", "DLH A320", 4, "4 any"},
        {"the generic one for a freighter", "ZZZ/A320/any", "DLH A320 cargo", 4, "4 any"},
        {"a large one not at depth 3", "ZZZ/A320/any", "DLH A320", 3, "0 "},
        {"a small one at depth 3", "ZZZ/C172/any AFR/C172/theirs", "DLH C172", 3, "4 any"},
        {"a private one first of all", "PVT/C172/own ZZZ/C172/any", "PVT C172", 2, "4 any"},
        {"a private one else", "PVT/C172/own", "PVT C172", 2, "2 own"},
        {"no airline", "DLH/A320/a ZZZ/A320/any", "- A320", 4, "4 any"},
        {"no airline at a gate", "DLH/A320/a ZZZ/A320/any", "- A320", 4, "4 any", gate},
        {"any airline's of a small type", "AFR/C172/theirs", "DLH C172", 3, "5 theirs"},
        {"not for a freighter", "AFR/C172/theirs", "DLH C172 cargo", 3, "0 "},
        {"not of a large type", "AFR/A320/theirs", "DLH A320", 4, "0 "},
        {"not of a fighter", "AFR/F16/f", "DLH F16", 4, "0 "},
        {"any airline's of a similar small type", "AFR/DA40/x AFR/P28A/theirs", "DLH C172", 3, "6 theirs"},
        {"any small one", "AFR/EC35/h AFR/DA40/theirs", "DLH C172", 3, "6 theirs"},
        {"any business jet", "AFR/C172/x AFR/C680/j", "DLH C25A", 3, "6 j"},
        {"any helicopter", "AFR/C172/x AFR/R44/r", "DLH EC35", 3, "6 r"},
    };
    par::RANDOM.value = false;
    for (const Row& row : rows) {
        installAll(row.installed);
        par::MATCHING_DEPTH.value = row.depth;
        AiAircraft a = aircraftOf(row.wanted);
        const int step = row.found[0] - '0';
        const std::string title = row.found + 2, told = fmt::format(" ={}= {}\n", step, title);
        if (row.place == live)
            EXPECT_EQ(matchLive(a), step) << row.name;
        else
            EXPECT_EQ(matchStatic(a, {"A 1", row.place == cargoStand}), step != 0) << row.name;
        EXPECT_EQ(a.title, title) << row.name;
        EXPECT_EQ(program.logText().ends_with(told), step != 0) << row.name;
        EXPECT_EQ(stepCounters()[step == 0 ? 0 : static_cast<std::size_t>(step - 1)], step != 0 && row.place == live)
            << row.name;
    }
}

TEST_F(MatchingSteps, ByChanceAllThatFitHaveTheirTurn) {
    const struct {
        const char *name, *installed, *wanted, *titles;
    } rows[] = {
        {"titles, and no special one", "DLH/A320/a DLH/A320/*b DLH/A320/*c DLH/A320/*d DLH/A320/e", "DLH A320", "a e "},
        {"similar types", "DLH/A319/a DLH/A321/b", "DLH A320", "a b "},
        {"small types", "AFR/C172/a AFR/P28A/b", "DLH DA40", "a b "},
        {"titles of any airline", "AFR/C172/a BAW/C172/b", "DLH C172", "a b "},
    };
    for (const auto& row : rows) {
        installAll(row.installed);
        for (const bool chance : {true, false}) {
            par::RANDOM.value = chance;
            std::set<std::string> seen;
            for (int i = 0; i < 200; ++i) {
                AiAircraft a = aircraftOf(row.wanted);
                matchLive(a);
                seen.emplace(a.title);
            }
            EXPECT_EQ(fmt::format("{} ", fmt::join(seen, " ")), chance ? row.titles : std::string(row.titles, 2))
                << row.name;
        }
    }
}

} // namespace
} // namespace kes::test
