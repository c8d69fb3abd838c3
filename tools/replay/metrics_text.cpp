// SPDX-License-Identifier: MIT
#include "tools/replay/metrics_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <initializer_list>
#include <nlohmann/json.hpp>

namespace kes::replay {

namespace {

using Json = nlohmann::ordered_json;

double rounded(double value) {
    // Six digits are more than the bins can tell; short numbers keep the file readable.
    return std::stod(fmt::format("{:.6g}", value));
}

std::string clockText(std::int32_t tick) {
    const int seconds = tick / 100;
    return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

Json seriesJson(const Result& result, const Series& s) {
    Json j;
    j["count"] = s.count();
    j["mean"] = rounded(s.mean());
    j["p95"] = rounded(s.quantile(0.95));
    j["max"] = rounded(s.maximum());
    j["worst"] = {{"aircraft", result.names.at(s.worst().aircraft)}, {"seconds", secondsOf(s.worst().tick)}};
    return j;
}

Json spread(const Series& s) {
    return {{"count", s.count()},
            {"median", rounded(s.quantile(0.5))},
            {"p95", rounded(s.quantile(0.95))},
            {"max", rounded(std::max(s.maximum(), 0.0))}};
}

Json parkingJson(const ParkingMeasures& m) {
    return {{"stands", m.stands},
            {"stays", m.stays},
            {"arrivals", m.arrivals},
            {"on_the_stand", m.onStand},
            {"on_another", m.onAnother},
            {"on_none", m.onNone},
            {"absent", m.absent},
            {"metres_to_real_rest", spread(m.metres)},
            {"seconds_to_real_stop", spread(m.seconds)},
            {"nose_degrees", spread(m.nose)},
            {"stand_to_real_rest_metres", spread(m.standMetres)},
            {"push_backs", m.pushBacks},
            {"push_backs_to_real_side", m.pushBacksToRealSide},
            {"most_static", m.mostStatic},
            {"most_parked_live", m.mostParkedLive}};
}

/// What stands in the first column of a way: of shares the mean.
double typical(Metric metric, const Series& s) {
    return metric == Metric::wrongBank ? s.mean() : s.quantile(0.95);
}

} // namespace

std::string metricsJson(const Result& result) {
    Json j;
    j["feed"] = result.feed;
    j["reference"] = result.truthKnown ? "truth" : "straight line between reports";
    j["seconds"] = secondsOf(result.ticks);
    j["reports"] = result.lines;
    j["aircraft"] = result.names.size();
    j["most_at_once"] = result.mostAtOnce;
    j["objects"] = result.objects;
    j["overspeed"] = {{"largest", rounded(result.overspeed.worst().ratio)},
                      {"objects_above_1.5", result.overspeed.dashing()}};
    for (std::size_t i = 0; i < result.flown.size(); ++i) {
        if (const Flown& f = result.flown[i]; !f.model.empty())
            j["flown"].push_back(
                {{"aircraft", result.names[i]}, {"model", f.model}, {"category", f.category}, {"title", f.title}});
    }
    if (result.parking.stands > 0)
        j["parking"] = parkingJson(result.parking);
    j["internal_checks"] = result.faults;
    for (std::size_t way = 0; way < wayCount; ++way) {
        Json& ways = j["ways"][std::string(wayNames[way])];
        ways = Json::object();
        for (std::size_t m = 0; m < metricCount; ++m) {
            const auto metric = static_cast<Metric>(m);
            Series all;
            Json phases;
            for (std::size_t p = 0; p < phaseCount; ++p) {
                const Series& s = result.boards[way]->of(metric, static_cast<Phase>(p));
                if (s.count() == 0)
                    continue;
                all.add(s);
                phases[std::string(text(static_cast<Phase>(p)))] = seriesJson(result, s);
            }
            if (all.count() > 0)
                ways[std::string(nameOf(metric).key)] = {
                    {"unit", nameOf(metric).unit}, {"all", seriesJson(result, all)}, {"phases", std::move(phases)}};
        }
    }
    return j.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string parkingText(const ParkingMeasures& m) {
    if (m.stands == 0)
        return {};
    return fmt::format(
        "parking: {} stands; of {} aircraft that stood on a stand ({} came rolling) {} on it, {} on another, {} on "
        "none, "
        "{} not shown; metres to the real rest {:.1f} / {:.1f} (median / 95 %), of the stands themselves {:.1f} / "
        "{:.1f}; seconds to the real stop {:.1f} / {:.1f}; nose {:.1f} / {:.1f} degrees; {} of {} push-backs to the "
        "real side; at most {} static, {} live "
        "parked\n",
        m.stands, m.stays, m.arrivals, m.onStand, m.onAnother, m.onNone, m.absent, m.metres.quantile(0.5),
        m.metres.quantile(0.95), m.standMetres.quantile(0.5), m.standMetres.quantile(0.95), m.seconds.quantile(0.5),
        m.seconds.quantile(0.95), m.nose.quantile(0.5), m.nose.quantile(0.95), m.pushBacksToRealSide, m.pushBacks,
        m.mostStatic, m.mostParkedLive);
}

std::string verdictText(const Result& result) {
    const Board& board = *result.boards[0];
    const auto over = [&board](Metric metric, std::initializer_list<Phase> phases) {
        Series all;
        for (const Phase phase : phases)
            all.add(board.of(metric, phase));
        return all;
    };
    const auto p95 = [&over](Metric metric, std::initializer_list<Phase> phases) {
        return over(metric, phases).quantile(0.95);
    };
    const auto inAir = {Phase::air, Phase::approach};
    const auto onGround = {Phase::rollOut, Phase::taxi, Phase::pushBack};
    const auto everywhere = {Phase::air,  Phase::approach, Phase::flare,   Phase::rollOut,
                             Phase::taxi, Phase::pushBack, Phase::takeOff, Phase::parked};
    const Series sink = over(Metric::sinkRate, everywhere);
    std::string out =
        fmt::format("traffic:  {:.0f} s, {} reports of {} aircraft, {} at once at most, measured against {}\n",
                    secondsOf(result.ticks), result.lines, result.names.size(), result.mostAtOnce,
                    result.truthKnown ? "the truth" : "the line between the reports");
    out += fmt::format(
        "air:      95 % within {:.1f} m of the way, {:.1f} s early, {:.1f} s late, {:.1f} degrees of bank\n",
        p95(Metric::way, inAir), p95(Metric::early, inAir), p95(Metric::late, inAir), p95(Metric::bank, inAir));
    out += fmt::format(
        "ground:   95 % within {:.1f} m of the way, {:.1f} s early, {:.1f} s late, nose {:.1f} degrees off the "
        "motion\n",
        p95(Metric::way, onGround), p95(Metric::early, onGround), p95(Metric::late, onGround),
        p95(Metric::nose, onGround));
    out += fmt::format(
        "evenness: largest jump {:.2f} m a tick, {:.1f} twitches a minute at rest, {:.1f} false stops a minute "
        "rolling, at most {:.2f} times the reported speed\n",
        over(Metric::jump, everywhere).maximum(), over(Metric::twitches, everywhere).mean(),
        over(Metric::falseStops, everywhere).mean(), result.overspeed.worst().ratio);
    out +=
        sink.count() == 0
            ? std::string("landings: none\n")
            : fmt::format("landings: {}, sink rate {:.0f} ft/min (at most {:.0f}), {:.1f} s afloat, at most {:.1f} ft "
                          "below the ground\n",
                          sink.count(), sink.quantile(0.5), sink.maximum(),
                          over(Metric::floatTime, everywhere).quantile(0.5),
                          over(Metric::belowGround, everywhere).maximum());
    const ParkingMeasures& m = result.parking;
    out += m.stands == 0
               ? std::string("stands:   none were loaded\n")
               : fmt::format("stands:   {}; of {} aircraft that really stood on one {} did here, {} on another, {} on "
                             "none; {} of {} push-backs to the real side\n",
                             m.stands, m.stays, m.onStand, m.onAnother, m.onNone + m.absent, m.pushBacksToRealSide,
                             m.pushBacks);
    return out;
}

std::string metricsTable(const Result& result) {
    std::string out = fmt::format("{:16} {:6} {:9} {:>9}", "measure", "unit", "phase", "count");
    for (const std::string_view way : wayNames)
        out += fmt::format(" |{:^19}", way);
    out += fmt::format(" | worst of ours\n{:16} {:6} {:9} {:>9}", "", "", "", "");
    for (std::size_t way = 0; way < wayCount; ++way)
        out += fmt::format(" | {:>8}  {:>8}", "95 %", "max");
    out += " |\n";
    for (std::size_t m = 0; m < metricCount; ++m) {
        const auto metric = static_cast<Metric>(m);
        for (std::size_t p = 0; p < phaseCount; ++p) {
            const auto phase = static_cast<Phase>(p);
            const Series& ours = result.boards[0]->of(metric, phase);
            if (ours.count() == 0)
                continue;
            out += fmt::format("{:16} {:6} {:9} {:>9}", nameOf(metric).key, nameOf(metric).unit, text(phase),
                               ours.count());
            for (std::size_t way = 0; way < wayCount; ++way) {
                const Series& s = result.boards[way]->of(metric, phase);
                if (s.count() == 0)
                    out += fmt::format(" | {:>8}  {:>8}", "-", "-");
                else
                    out += fmt::format(" | {:>8.4g}  {:>8.4g}", typical(metric, s), s.maximum());
            }
            out += fmt::format(" | {} {}\n", result.names.at(ours.worst().aircraft), clockText(ours.worst().tick));
        }
    }
    return out;
}

} // namespace kes::replay
