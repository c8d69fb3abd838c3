// SPDX-License-Identifier: MIT
#include "tools/pack/routes.h"

#include "core/text.h"
#include "platform/system.h"
#include "tools/pack/equipment.h"
#include "tools/pack/unpacked.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <optional>
#include <stdexcept>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

/// An airport with this share of an airline's services at its greatest one is a home, too.
constexpr double shareOfHome = 0.2;
/// Fewer services make no second home.
constexpr std::size_t fewestOfHome = 4;

/// Reads a list without a head line; `names` stands for it. What is missing in a column is `\N` there, or nothing.
void readHeadless(const fs::path& file, const std::vector<std::string>& names, PackCount& count, const CsvTake& take) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ",") + name;
    }
    text += "\n" + readUnpacked(file);
    const std::string shown = platform::pathText(file.filename());
    std::string problem;
    const auto complain = [&](std::size_t line, std::string reason) {
        count.bad.push_back({shown, line - 1, std::move(reason)});
    };
    if (!readCsvText(text, names, take, complain, problem)) {
        throw std::runtime_error(fmt::format("{}: {}", platform::pathText(file), problem));
    }
}

std::string_view known(std::string_view field) {
    return field == "\\N" || field == "-" ? std::string_view() : field;
}

/// The words of a name by which two spellings of it are known to be one, in small letters.
std::vector<std::string> wordsOf(std::string_view name) {
    static constexpr std::string_view plain[] = {"air",     "airline", "airlines",      "airways", "aviation",
                                                 "company", "the",     "international", "lines",   "and"};
    std::vector<std::string> words;
    std::string word;
    for (const char c : std::string(name) + ' ') {
        const auto sign = static_cast<unsigned char>(c);
        if (std::isalnum(sign) != 0 || sign >= 0x80) {
            word += static_cast<char>(std::tolower(sign));
        } else if (!word.empty()) {
            if (std::ranges::find(plain, word) == std::end(plain)) {
                words.push_back(word);
            }
            word.clear();
        }
    }
    return words;
}

/// Whether two names may be of one airline: a word in common, or one written as several ("fly dubai").
bool mayBeOne(std::string_view a, std::string_view b) {
    const std::vector<std::string> wordsA = wordsOf(a), wordsB = wordsOf(b);
    const auto joined = [](std::string_view name) {
        std::string text;
        for (const char c : name) {
            if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
                text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
        }
        return text;
    };
    const std::string allA = joined(a), allB = joined(b);
    const auto within = [](const std::vector<std::string>& words, const std::string& all) {
        return std::ranges::any_of(
            words, [&](const std::string& w) { return w.size() >= 4 && all.find(w) != std::string::npos; });
    };
    return within(wordsA, allB) || within(wordsB, allA) || allA == allB ||
           std::ranges::any_of(wordsA,
                               [&](const std::string& w) { return std::ranges::find(wordsB, w) != wordsB.end(); });
}

/// The airlines of the list, and what their codes are today.
class Airlines {
public:
    Airlines(const fs::path& file, const Sources& sources, PackCount& count)
        : count_(count), file_(platform::pathText(file.filename())) {
        for (std::size_t i = 0; i < sources.airlines.size(); ++i) {
            nameOf_.emplace(sources.airlines[i], sources.airlineNames[i]);
            byName_[key(sources.airlineNames[i])].push_back(sources.airlines[i]);
        }
        for (const std::string& code : sources.cargoOperators) {
            cargo_.insert(code);
        }
        readHeadless(file, {"id", "name", "alias", "iata", "icao", "call", "country", "active"}, count,
                     [&](const CsvRow& row) -> std::string {
                         take(row);
                         return {};
                     });
    }

    /// The ICAO code of today. Empty, with the reason, when there is none.
    std::string codeOf(std::string_view code, std::string_view id, std::string& reason) {
        const std::string asked = fmt::format("{} {}", code, id);
        const auto [it, isNew] = answers_.try_emplace(asked);
        if (isNew) {
            it->second = look(code, known(id));
        }
        reason = it->second.second;
        return it->second.first;
    }
    bool isCargo(const std::string& code) const { return cargo_.contains(code); }

private:
    struct Listed {
        std::string id, name, iata, icao;
        std::size_t line = 0;
        bool active = false;
    };

    static std::string key(std::string_view name) {
        std::string text;
        for (const std::string& word : wordsOf(name.substr(0, name.find('(')))) {
            text += word + " ";
        }
        return text;
    }

    void take(const CsvRow& row) {
        Listed airline{std::string(row[0]),        std::string(row[1]), std::string(known(row[3])),
                       std::string(known(row[4])), row.line - 1,        row[7] == "Y"};
        const std::size_t at = list_.size();
        byId_.emplace(airline.id, at);
        for (const std::string& code : {airline.iata, airline.icao}) {
            if (!code.empty()) {
                byCode_[code].push_back(at);
            }
        }
        list_.push_back(std::move(airline));
    }

    /// The code under which our sources know a listed airline; empty = none.
    std::string todaysCode(const Listed& airline) const {
        const std::string* const name = find(nameOf_, airline.icao);
        if (name != nullptr && (name->empty() || mayBeOne(*name, airline.name))) {
            return airline.icao;
        }
        const auto* const same = find(byName_, key(airline.name));
        if (same != nullptr && same->size() == 1 && !key(airline.name).empty()) {
            return same->front();
        }
        return name != nullptr ? airline.icao : std::string();
    }

    std::pair<std::string, std::string> look(std::string_view code, std::string_view id) {
        // The list of routes is wrong about ids here and there, so that who has the code now counts as well.
        std::vector<std::size_t> candidates;
        if (const std::size_t* const found = find(byId_, id)) {
            candidates.push_back(*found);
        }
        if (const auto* const found = find(byCode_, code)) {
            candidates.insert(candidates.end(), found->begin(), found->end());
        }
        if (candidates.empty()) {
            return {"", fmt::format("airline \"{}\" is not in {}", code, file_)};
        }
        std::string best;
        const Listed* bestAirline = nullptr;
        for (const std::size_t i : candidates) {
            const Listed& airline = list_[i];
            std::string today = airline.active ? todaysCode(airline) : std::string();
            if (today.empty()) {
                continue;
            }
            const bool isSure = mayBeOne(*find(nameOf_, today), airline.name);
            if (best.empty() || isSure) {
                best = std::move(today);
                bestAirline = &airline;
            }
            if (isSure) {
                break;
            }
        }
        if (best.empty()) {
            return {"", fmt::format("airline \"{}\" ({}) does not fly any more or has no code of today", code,
                                    list_[candidates.front()].name)};
        }
        const std::string& name = *find(nameOf_, best);
        if (!name.empty() && !mayBeOne(name, bestAirline->name)) {
            // A freight airline that has got the code of another one brings none of its passengers.
            if (cargo_.contains(best)) {
                return {"", fmt::format("the code {} of \"{}\" is \"{}\" today", best, bestAirline->name, name)};
            }
            count_.doubtful.push_back(
                {file_, bestAirline->line,
                 fmt::format("\"{}\" has the code {}, today \"{}\"", bestAirline->name, best, name)});
        }
        return {best, ""};
    }

    PackCount& count_;
    std::string file_;
    TextMap<std::string> nameOf_;              ///< of ours, by code
    TextMap<std::vector<std::string>> byName_; ///< codes of ours
    TextSet cargo_;
    std::vector<Listed> list_;
    TextMap<std::size_t> byId_;
    TextMap<std::vector<std::size_t>> byCode_;
    TextMap<std::pair<std::string, std::string>> answers_;
};

/// Designators of the equipment codes in the list of aircraft.
TextMap<std::string> readPlanes(const fs::path& file, PackCount& count) {
    TextMap<std::string> types;
    readHeadless(file, {"name", "iata", "icao"}, count, [&](const CsvRow& row) -> std::string {
        if (!known(row[1]).empty() && !known(row[2]).empty()) {
            types.emplace(row[1], row[2]);
        }
        return {};
    });
    return types;
}

class Reader {
public:
    Reader(const RouteFiles& files, const Sources& sources, const std::vector<AirportRow>& airports, PackCount& count)
        : sources_(sources), count_(count), airlines_(files.airlines, sources, count),
          types_(readPlanes(files.planes, count)) {
        for (const AirportRow& airport : airports) {
            Place place{airport.code, {}};
            std::from_chars(airport.lat.data(), airport.lat.data() + airport.lat.size(), place.at.lat);
            std::from_chars(airport.lon.data(), airport.lon.data() + airport.lon.size(), place.at.lon);
            byCode_.emplace(airport.code, places_.size());
            if (!airport.iata.empty()) {
                byIata_.emplace(airport.iata, places_.size());
            }
            places_.push_back(std::move(place));
        }
        readHeadless(files.routes,
                     {"airline", "airlineid", "from", "fromid", "to", "toid", "codeshare", "stops", "equipment"}, count,
                     [&](const CsvRow& row) { return take(row); });
    }

    RouteList end() {
        dropUnmarkedCodeshares();
        RouteList list;
        for (auto& [ends, types] : flown_) {
            const auto& [airline, a, b] = ends;
            Service service{airline, "", distanceNm(places_[a].at, places_[b].at), {types.begin(), types.end()}};
            for (const auto& [here, there] : {std::pair(a, b), std::pair(b, a)}) {
                service.other = places_[there].code;
                AirportRoutes& routes = list.airports[places_[here].code];
                routes.position = places_[here].at;
                routes.services.push_back(service);
            }
        }
        for (auto& [code, routes] : list.airports) {
            std::ranges::sort(routes.services, [](const Service& x, const Service& y) {
                return std::tie(x.airline, x.other) < std::tie(y.airline, y.other);
            });
        }
        findHomes(list);
        return list;
    }

private:
    struct Place {
        std::string code;
        LatLon at;
    };
    using Flown = std::map<std::tuple<std::string, std::size_t, std::size_t>, std::set<FlownType>>;

    /// IATA or ICAO code.
    const std::size_t* placeOf(std::string_view code) const {
        return code.size() == 3 ? find(byIata_, code) : find(byCode_, code);
    }

    std::string take(const CsvRow& row) {
        ++count_.routes;
        if (row[6] == "Y") {
            ++count_.codeshares;
            return {};
        }
        std::string reason;
        const std::string airline = airlines_.codeOf(row[0], row[1], reason);
        const std::size_t* const from = placeOf(row[2]);
        const std::size_t* const to = placeOf(row[4]);
        if (!reason.empty()) {
            return reason;
        }
        if (from == nullptr || to == nullptr) {
            return fmt::format("airport \"{}\" is not in airports.csv", from == nullptr ? row[2] : row[4]);
        }
        if (from == to) {
            return fmt::format("from \"{}\" to itself", row[2]);
        }
        std::set<FlownType> types;
        std::string unknown;
        std::string_view rest = row[8];
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(' '), rest.size());
            const std::string_view code = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (code.empty()) {
                continue;
            }
            if (auto type = typeOf(code, airline)) {
                types.insert(std::move(*type));
            } else {
                unknown += fmt::format("{}\"{}\"", unknown.empty() ? "" : ", ", code);
            }
        }
        if (types.empty() && unknown.empty()) {
            return "no equipment";
        }
        if (!types.empty()) {
            flown_[{airline, std::min(*from, *to), std::max(*from, *to)}].merge(types);
            ++count_.routesUsed;
        }
        return unknown.empty() ? std::string() : fmt::format("equipment {} is not known", unknown);
    }

    std::optional<FlownType> typeOf(std::string_view code, const std::string& airline) const {
        const EquipmentCode* const ours = findEquipment(code);
        const std::string* const listed = find(types_, code);
        FlownType type{listed != nullptr ? *listed
                       : ours != nullptr ? std::string(ours->type)
                                         : std::string(),
                       (ours != nullptr && ours->freighter) || airlines_.isCargo(airline)};
        return sources_.typeCodes.contains(type.code) ? std::optional(std::move(type)) : std::nullopt;
    }

    static void findHomes(RouteList& list) {
        std::map<std::string, std::vector<std::pair<std::size_t, const std::string*>>> byAirline;
        for (const auto& [code, routes] : list.airports) {
            std::map<std::string_view, std::size_t> here;
            for (const Service& service : routes.services) {
                ++here[service.airline];
            }
            for (const auto& [airline, number] : here) {
                byAirline[std::string(airline)].emplace_back(number, &code);
            }
        }
        for (const auto& [airline, places] : byAirline) {
            const auto traffic = [&](const std::string& code) {
                return list.airports.find(code)->second.services.size();
            };
            const auto& [most, home] = *std::ranges::max_element(places, [&](const auto& x, const auto& y) {
                return std::tuple(x.first, traffic(*x.second)) < std::tuple(y.first, traffic(*y.second));
            });
            list.homes.emplace(airline, *home);
            for (const auto& [number, code] : places) {
                if (number >= fewestOfHome && static_cast<double>(number) >= shareOfHome * static_cast<double>(most)) {
                    list.homes.emplace(airline, *code);
                }
            }
        }
    }

    /// The state that an airport lies in, by its code: some have a letter of their own.
    static std::string_view stateOf(std::string_view code) {
        return code.substr(0, std::string_view("KCYUZ").find(code.front()) != std::string_view::npos ? 1 : 2);
    }

    /// Flights under a partner's code that the list does not mark: both ends lie abroad for the airline, and one that
    /// is at home in one of the two states flies there with all the same types.
    void dropUnmarkedCodeshares() {
        std::map<std::string, std::map<std::size_t, std::size_t>> served;
        std::map<std::pair<std::size_t, std::size_t>, std::vector<Flown::const_iterator>> onPair;
        for (auto it = flown_.cbegin(); it != flown_.cend(); ++it) {
            const auto& [airline, a, b] = it->first;
            ++served[airline][a];
            ++served[airline][b];
            onPair[{a, b}].push_back(it);
        }
        std::map<std::string, std::string_view> home;
        for (const auto& [airline, places] : served) {
            const auto most = std::ranges::max_element(places, {}, [](const auto& place) { return place.second; });
            home[airline] = stateOf(places_[most->first].code);
        }
        const auto isAbroad = [&](const Flown::const_iterator& flight) {
            const auto& [airline, a, b] = flight->first;
            return home[airline] != stateOf(places_[a].code) && home[airline] != stateOf(places_[b].code);
        };
        std::vector<Flown::const_iterator> dropped;
        for (const auto& [pair, flights] : onPair) {
            for (const Flown::const_iterator& flight : flights) {
                if (isAbroad(flight) && std::ranges::any_of(flights, [&](const Flown::const_iterator& other) {
                        return !isAbroad(other) && std::ranges::includes(other->second, flight->second);
                    })) {
                    dropped.push_back(flight);
                }
            }
        }
        for (const Flown::const_iterator& flight : dropped) {
            flown_.erase(flight);
        }
        count_.unmarkedCodeshares += dropped.size();
    }

    const Sources& sources_;
    PackCount& count_;
    Airlines airlines_;
    TextMap<std::string> types_;
    std::vector<Place> places_;
    TextMap<std::size_t> byCode_, byIata_;
    Flown flown_; ///< by airline and both ends
};

} // namespace

bool RouteList::isHome(std::string_view airline, std::string_view airport) const {
    return homes.contains({std::string(airline), std::string(airport)});
}

RouteList readRoutes(const RouteFiles& files, const Sources& sources, const std::vector<AirportRow>& airports,
                     PackCount& count) {
    return Reader(files, sources, airports, count).end();
}

} // namespace kes::pack
