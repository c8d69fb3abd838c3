// SPDX-License-Identifier: MIT
// Whole replays of scenarios: the same bytes for the same seed, and motion that stays as good as it is.
#include "files.h"
#include "reference/reference.h"
#include "tools/replay/metrics_text.h"
#include "tools/replay/replay.h"
#include "tools/replay/scenarios.h"
#include "world/source/report_line.h"

#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace kes::replay {
namespace {

struct ReplayTest : testing::Test {
    const test::TempFolder temporary;
    const std::filesystem::path folder = temporary.path;

    std::filesystem::path stands; ///< of the airport; empty = none is loaded

    Result replay(const std::string& feed, std::uint32_t seed = 1, const char* out = "out", double minutes = 0) const {
        Options o;
        o.stands = stands;
        o.minutes = minutes;
        o.feed = feed;
        o.seed = seed;
        o.out = folder / out;
        o.data = std::filesystem::path(KES_SOURCE_DIR) / "data";
        return runReplay(o, [](double) {});
    }
    double worst(const Result& r, Metric metric, Phase phase) const {
        const Series& s = r.boards[0]->of(metric, phase);
        EXPECT_GT(s.count(), 0U) << r.feed << ": " << nameOf(metric).key << " " << text(phase);
        return s.maximum();
    }
};

TEST_F(ReplayTest, TheSameSeedGivesTheSameBytes) {
    const Result first = replay("taxi-90+noise", 5, "a"), second = replay("taxi-90+noise", 5, "b"),
                 other = replay("taxi-90+noise", 6, "c");
    const std::string csv = test::readFile(folder / "a" / "motion.csv");
    EXPECT_GT(csv.size(), 100000U);
    EXPECT_EQ(csv, test::readFile(folder / "b" / "motion.csv"));
    EXPECT_EQ(metricsJson(first), metricsJson(second));
    EXPECT_NE(csv, test::readFile(folder / "c" / "motion.csv")) << "and another seed another noise";
    const auto json = nlohmann::json::parse(metricsJson(first));
    EXPECT_EQ(json["reference"], "truth");
    EXPECT_GT(json["ways"]["A straight"]["across"]["phases"]["taxi"]["count"], 1000);
    EXPECT_NE(metricsTable(first).find("DLH1"), std::string::npos);
    const std::string verdict = verdictText(first);
    EXPECT_EQ(std::count(verdict.begin(), verdict.end(), '\n'), 6) << verdict;
    EXPECT_TRUE(
        verdict.starts_with(fmt::format("traffic:  {:.0f} s, {} reports of ", secondsOf(first.ticks), first.lines)))
        << verdict;
    EXPECT_FALSE(first.map.aircraft.at(0).truth.empty());
    EXPECT_FALSE(first.map.aircraft[0].shown.empty());
}

TEST_F(ReplayTest, AircraftThatStandInRealityStandOnTheirStands) {
    const auto scenario = makeScenario("parked");
    ASSERT_TRUE(scenario);
    stands = folder / (scenario->airportCode + ".xml");
    std::ofstream file(stands);
    file << R"(<parameters><parameter name="altitude" value="100"/></parameters><parkpositions>)";
    std::size_t placed = 0;
    for (const ScenarioFlight& f : scenario->flights) {
        if (!f.stand)
            continue;
        ++placed;
        file << fmt::format(R"(<parkpos id="{}" latitude="{:.6f}" longitude="{:.6f}" heading="{:.1f}" radius="40.0"/>)",
                            f.stand->id, f.stand->lat, f.stand->lon, f.stand->heading * radToDeg);
    }
    file << "</parkpositions>";
    file.close();
    ASSERT_GE(placed, 2U);
    const Result r = replay("parked");
    EXPECT_TRUE(r.faults.empty()) << r.faults.front();
    EXPECT_EQ(r.parking.stands, placed);
    EXPECT_EQ(r.parking.stays, placed);
    EXPECT_EQ(r.parking.onStand, placed);
    EXPECT_LT(r.parking.metres.maximum(), 1);
    EXPECT_EQ(r.parking.mostParkedLive, placed);
    EXPECT_NE(parkingText(r.parking).find("2 on it, 0 on another, 0 on none"), std::string::npos);
    const auto json = nlohmann::json::parse(metricsJson(r));
    EXPECT_EQ(json["parking"]["on_the_stand"], placed);
}

TEST_F(ReplayTest, PushBacksGoToTheSideOfTheRealOnes) {
    for (const char* feed : {"push-back-left", "push-back-right", "push-back-straight"}) {
        const Result r = replay(feed);
        EXPECT_TRUE(r.faults.empty()) << r.faults.front();
        EXPECT_EQ(r.parking.pushBacks, 1U) << feed;
        EXPECT_EQ(r.parking.pushBacksToRealSide, 1U) << feed;
    }
}

TEST_F(ReplayTest, ALandingIsSoftAndInItsPlaceAtEveryElevation) {
    for (const char* feed : {"ils-sea", "ils-high+2s", "ils-low", "ils-sea-983", "ils-low-1043", "ils-high+hover"}) {
        const Result r = replay(feed);
        EXPECT_TRUE(r.faults.empty()) << feed << ": " << r.faults.front();
        EXPECT_LT(worst(r, Metric::sinkRate, Phase::flare), 250) << feed;
        EXPECT_NEAR(worst(r, Metric::touchdownPitch, Phase::flare), 4, 0.5) << feed;
        EXPECT_LT(worst(r, Metric::thresholdDistance, Phase::flare), 900) << feed;
        EXPECT_LT(worst(r, Metric::floatTime, Phase::flare), 10) << feed;
        EXPECT_EQ(worst(r, Metric::belowGround, Phase::flare), 0) << feed;
        EXPECT_LT(worst(r, Metric::jump, Phase::approach), 0.05) << feed;
        EXPECT_LT(worst(r, Metric::way, Phase::rollOut), 10) << feed;
    }
}

TEST_F(ReplayTest, TurnsCornersAndRestStayAsGoodAsTheyAre) {
    const Result turns = replay("turns");
    EXPECT_LT(worst(turns, Metric::across, Phase::air), 40);
    EXPECT_LT(worst(turns, Metric::turnRate, Phase::air), 3.5);
    EXPECT_LT(worst(turns, Metric::jump, Phase::air), 0.01);
    EXPECT_LT(turns.boards[0]->of(Metric::wrongBank, Phase::air).mean(), 0.02);
    const Result corners = replay("taxi-45");
    EXPECT_LT(worst(corners, Metric::way, Phase::taxi), 8);
    EXPECT_LT(worst(corners, Metric::turnRate, Phase::taxi), 15);
    const Result rest = replay("parked+noise");
    const Series& path = rest.boards[0]->of(Metric::restPath, Phase::parked);
    EXPECT_GT(path.count(), 100U);
    EXPECT_EQ(path.quantile(0.9), 0) << "noise hardly ever moves an aircraft off its stand";
    const Result push = replay("push-back-right");
    EXPECT_LT(worst(push, Metric::nose, Phase::pushBack), 1);
    for (const Result* r : {&turns, &corners, &rest, &push})
        EXPECT_TRUE(r->faults.empty()) << r->feed;
}

source::SourceReport reportAt(LatLon place, double degrees, double knots, double feet) {
    source::SourceReport r;
    r.hexid = 0x3C1234;
    r.place = place;
    r.altitude = feet;
    r.airborne = feet > 0;
    r.track = r.trueHeading = degrees;
    r.groundSpeed = knots;
    r.trueAirspeed = r.airborne ? knots : -1;
    r.callsign = "DLH77";
    r.model = "A320";
    r.regcode = "ZZ-K77";
    r.origin = r.destination = "null";
    r.category = "A3";
    return r;
}

/// Records what `at` makes of each fifth second.
template <typename At> std::string recorded(const std::filesystem::path& file, int seconds, At at) {
    std::ofstream out(file);
    for (int t = 0; t <= seconds; t += 5)
        out << source::trafficLine(at(t), 1.75e9 + t, 0.0) << "\n";
    return file.string();
}

/// At 15,000 ft: straight for two minutes, then a turn to the right of 3 miles radius.
source::SourceReport turning(int t) {
    const LatLon begin{50.2, 8.1}, centre = destination(begin, pi / 2, 3 * feetPerNm);
    const double knots = 240, past = (t - 120) * knots / 3600.0; // nautical miles
    const double turned = std::max(past, 0.0) / 3.0;             // radians
    const LatLon at = past < 0 ? destination(begin, pi, -past * feetPerNm)
                               : destination(centre, normalizeAngle(turned - pi / 2), 3 * feetPerNm);
    return reportAt(at, turned * radToDeg, knots, 15000);
}

/// At an airport: stands for two minutes, as seen by a receiver that is metres wrong, and rolls off northwards.
source::SourceReport rollingOff(int t) {
    const double degrees = t * 137.0, off = t <= 120 ? 6.0 : 0.0, gone = std::max(t - 120, 0) * 5.0; // metres
    constexpr double metresPerDegree = 60.0 * metresPerNm;
    return reportAt({48.353783 + (gone + off * std::cos(degrees * degToRad)) / metresPerDegree,
                     11.786086 + off * std::sin(degrees * degToRad) / metresPerDegree * 1.5},
                    0, t <= 120 ? 0 : 9.72, 0);
}

TEST_F(ReplayTest, WayAndTimeAreMeasuredAgainstTheRightLine) {
    const auto most = [](const Result& r, std::size_t way, Metric metric) {
        Series all;
        for (std::size_t p = 0; p < phaseCount; ++p)
            all.add(r.boards[way]->of(metric, static_cast<Phase>(p)));
        EXPECT_GT(all.count(), 200U) << r.feed << " " << wayNames[way];
        return all.maximum();
    };
    const Result turn = replay(recorded(folder / "turn.txt", 240, turning));
    for (const std::size_t straight : {1U, 2U}) {
        EXPECT_LT(most(turn, straight, Metric::way), 0.01) << "it is the line itself";
        EXPECT_LT(most(turn, straight, Metric::time), 0.01);
    }
    // The arc rises by s^2 / 8r over its chord of 617 m: 8.6 m.
    EXPECT_NEAR(most(turn, 3, Metric::way), 8.6, 0.5);
    EXPECT_LT(most(turn, 3, Metric::time), 0.3);
    EXPECT_LT(most(turn, 0, Metric::way), 30);
    EXPECT_LT(most(turn, 0, Metric::late), 5);

    const Result rest = replay(recorded(folder / "rest.txt", 240, rollingOff));
    EXPECT_LT(most(rest, 1, Metric::time), 0.01);
    // Standing is one moment, whatever the noise; only its end may come late.
    EXPECT_EQ(rest.boards[0]->of(Metric::time, Phase::parked).quantile(0.8), 0);
    EXPECT_LT(worst(rest, Metric::time, Phase::parked), 15);
    EXPECT_LT(most(rest, 0, Metric::way), 10);

    const Result known = replay("turns+10s");
    EXPECT_NEAR(most(known, 1, Metric::way), 84, 10) << "a chord of 1286 m in turns of 2456 m radius";
    EXPECT_LT(most(known, 1, Metric::time), 1);
    EXPECT_NEAR(most(known, 3, Metric::way), 10, 5);
    EXPECT_LT(most(known, 0, Metric::time), 10);
    EXPECT_EQ(std::max(most(known, 0, Metric::early), most(known, 0, Metric::late)), most(known, 0, Metric::time));
    const auto json = nlohmann::json::parse(metricsJson(known));
    EXPECT_NEAR(json["ways"]["A straight"]["way"]["all"]["max"], most(known, 1, Metric::way), 1e-3);
    EXPECT_EQ(json["flown"][0]["category"], "Large");

    // Ours rolls over a stop of ten seconds that the truth makes: from then on it is early.
    // Noise is in the reports, and so in the baselines, but not in the truth.
    const Result hold = replay("hold-short-10+2s+noise");
    EXPECT_GT(most(hold, 1, Metric::way), 4);
    EXPECT_GT(worst(hold, Metric::early, Phase::taxi), 4);
    EXPECT_LT(worst(hold, Metric::way, Phase::taxi), 10);
}

TEST_F(ReplayTest, EachScenarioFliesItsOwnTypeAndCategory) {
    const std::map<std::string, std::string> categories{{"A320", "Large"},   {"B77W", "Heavy"},
                                                        {"C172", "Light"},   {"C25A", "Buzjets"},
                                                        {"F16", "HighPerf"}, {"EC35", "Rotorcraft"}};
    const std::map<std::string, std::string> types{
        {"light", "C172"}, {"buzjets", "C25A"}, {"heavy", "B77W"}, {"highperf", "F16"}, {"helicopter", "EC35"}};
    std::set<std::string> flown;
    for (const std::string& name : scenarioNames()) {
        const Result r = replay(name, 1, "out", 1);
        const auto s = makeScenario(name);
        ASSERT_EQ(r.flown.size(), s->flights.size()) << name;
        for (std::size_t i = 0; i < r.flown.size(); ++i) {
            const ScenarioFlight& f = s->flights[i];
            EXPECT_FALSE(lookupRegcode(f.regcode)) << name << ": " << f.regcode << " is somebody's";
            EXPECT_EQ(r.flown[i].model, f.model) << name;
            const auto word = types.find(name.substr(name.rfind('-') + 1));
            EXPECT_TRUE(word == types.end() || word->second == f.model) << name << ": " << f.model;
            EXPECT_EQ(r.flown[i].category, categories.at(f.model)) << name;
            EXPECT_NE(r.flown[i].title.find(" " + f.model + " "), std::string::npos)
                << name << ": " << r.flown[i].title;
            EXPECT_EQ(r.map.aircraft.at(i).model, f.model) << name;
            flown.insert(r.flown[i].category);
        }
    }
    EXPECT_EQ(flown.size(), categories.size());
}

TEST_F(ReplayTest, TellsWhatCannotBeReplayed) {
    for (const char* feed : {"no-such-scenario", "/etc", "turns+fast"}) {
        const std::string told = test::thrownBy([&] { replay(feed); });
        EXPECT_NE(told.find("neither a file nor a scenario"), std::string::npos) << feed << ": " << told;
    }
}

TEST_F(ReplayTest, APlaceWithoutTrafficNamesTheAirportThatHasIt) {
    const std::filesystem::path feed = folder / "lebl.rttfc";
    std::ofstream(feed)
        << "RTTFC,5024017,41.29,2.08,3815,832,1,208.01,135.36,RYR6CE,B738,EI-EPC,BCN,BGY,1601625601.7,M\n";
    Options o;
    o.feed = feed;
    o.out = folder / "out";
    o.data = std::filesystem::path(KES_SOURCE_DIR) / "data";
    const struct {
        const char* airport;
        std::optional<Viewpoint> at;
        const char* text;
    } rows[] = {
        {"EDDM", {}, "no report within 40 nm of EDDM, did you mean LEBL?"},
        {"", Viewpoint{{48, 11}, 5000}, "no report within 40 nm of 48.0000,11.0000, did you mean LEBL?"},
        {"LEBL", {}, ""},
    };
    for (const auto& row : rows) {
        o.airport = row.airport;
        o.at = row.at;
        std::string told;
        try {
            runReplay(o, [](double) {});
        } catch (const std::runtime_error& e) {
            told = e.what();
        }
        EXPECT_EQ(told, row.text);
    }
}

} // namespace
} // namespace kes::replay
