// SPDX-License-Identifier: MIT
#include "tools/pack/apt.h"

#include "core/text.h"
#include "platform/system.h"
#include "reference/text_map.h"
#include "tools/pack/unpacked.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <map>
#include <optional>
#include <stdexcept>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

constexpr double sameSpotNm = 1.0 / metresPerNm;
constexpr double onPadNm = 20.0 / metresPerNm;
/// Metres; no rotor turns beyond these, and a pad may be drawn as the whole apron.
constexpr double smallestPad = 7.5, greatestPad = 20.0;

/// The next word of a row; empty at its end.
std::string_view nextWord(std::string_view& row) {
    const std::size_t begin = std::min(row.find_first_not_of(" \t"), row.size());
    const std::size_t end = std::min(row.find_first_of(" \t", begin), row.size());
    const std::string_view word = row.substr(begin, end - begin);
    row.remove_prefix(end);
    return word;
}

bool toNumber(std::string_view word, double& value) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
    }
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size() && std::isfinite(value);
}

class Reader {
public:
    Reader(std::string file, std::vector<BadRow>& bad) : file_(std::move(file)), bad_(bad) {}

    void row(std::string_view row, std::size_t line) {
        line_ = line;
        const std::string_view code = nextWord(row);
        if (code == "1" || code == "16" || code == "17") {
            finish();
            begin(row);
        } else if (code == "1300") {
            addStart(row);
        } else if (code == "15") {
            addOldStart(row);
        } else if (code == "100") {
            addRunway(row);
        } else if (code == "102") {
            addPad(row);
        } else if (code == "1301") {
            addOperation(row);
        } else if (code == "1302") {
            addFact(row);
        } else {
            return;
        }
        lastWasStart_ = code == "1300";
    }

    std::vector<AptAirport> end() {
        finish();
        return std::move(airports_);
    }

private:
    void refuse(std::string reason) { bad_.push_back({file_, line_, std::move(reason)}); }

    void begin(std::string_view row) {
        AptAirport airport;
        if (!toNumber(nextWord(row), airport.elevation)) {
            refuse("no elevation");
        }
        nextWord(row);
        nextWord(row);
        airport.code = upper(nextWord(row));
        airport.name = strip(row);
        airport_ = std::move(airport);
    }

    bool readPlace(std::string_view& row, AptStart& start) {
        start.line = line_;
        if (toNumber(nextWord(row), start.lat) && toNumber(nextWord(row), start.lon) &&
            toNumber(nextWord(row), start.heading) && std::abs(start.lat) <= 90 && std::abs(start.lon) <= 180) {
            return true;
        }
        refuse("no position or heading");
        return false;
    }

    void addStart(std::string_view row) {
        AptStart start;
        refused_ = !airport_ || !readPlace(row, start);
        if (refused_) {
            return;
        }
        start.kind = nextWord(row);
        start.classes = nextWord(row);
        start.name = strip(row);
        airport_->starts.push_back(std::move(start));
    }

    void addOldStart(std::string_view row) {
        AptStart start;
        if (!airport_ || !readPlace(row, start)) {
            return;
        }
        start.name = strip(row);
        oldStarts_.push_back(std::move(start));
    }

    void addPad(std::string_view row) {
        AptStart pad;
        pad.kind = "misc";
        pad.classes = "helos";
        pad.name = nextWord(row);
        if (!airport_ || !readPlace(row, pad)) {
            return;
        }
        double length = 0, width = 0;
        if (!toNumber(nextWord(row), length) || !toNumber(nextWord(row), width)) {
            refuse("a helipad without a size");
            return;
        }
        pad.padRadius = std::clamp(std::min(length, width) / 2, smallestPad, greatestPad);
        pads_.push_back(std::move(pad));
    }

    /// Of a row that cannot be used no stand hangs, so that it is not told.
    void addRunway(std::string_view row) {
        AptRunway runway;
        bool isGood = airport_ && toNumber(nextWord(row), runway.width);
        for (int i = 0; i < 6; ++i) { // of surface and lights
            nextWord(row);
        }
        const auto readEnd = [&](LatLon& end) {
            runway.name += runway.name.empty() ? "" : "/";
            runway.name += nextWord(row);
            isGood = isGood && toNumber(nextWord(row), end.lat) && toNumber(nextWord(row), end.lon);
        };
        readEnd(runway.first);
        for (int i = 0; i < 6; ++i) { // of thresholds, markings and lights
            nextWord(row);
        }
        readEnd(runway.second);
        if (isGood) {
            airport_->runways.push_back(std::move(runway));
        }
    }

    /// Adds the helipads where nothing starts yet.
    void addFreePads() {
        std::vector<AptStart>& starts = airport_->starts;
        for (AptStart& pad : pads_) {
            const bool isFree = std::ranges::none_of(starts, [&](const AptStart& start) {
                return distanceNm({start.lat, start.lon}, {pad.lat, pad.lon}) < onPadNm;
            });
            if (isFree) {
                starts.push_back(std::move(pad));
            }
        }
    }

    void addOperation(std::string_view row) {
        if (!airport_ || (lastWasStart_ && refused_)) {
            return;
        }
        const std::string_view width = nextWord(row);
        if (!lastWasStart_) {
            refuse("a row 1301 without a start place before it");
        } else if (width.size() != 1 || width[0] < 'A' || width[0] > 'F') {
            refuse(fmt::format("\"{}\" is no width code", width));
        } else {
            airport_->starts.back().width = width[0];
            airport_->starts.back().operation = nextWord(row);
            for (std::string_view airline = nextWord(row); !airline.empty(); airline = nextWord(row)) {
                airport_->starts.back().airlines.push_back(upper(airline));
            }
        }
    }

    void addFact(std::string_view row) {
        if (airport_ && nextWord(row) == "icao_code") {
            const std::string code = upper(strip(row));
            if (code.size() == 4 && isFileCode(code)) {
                airport_->code = code;
            }
        }
    }

    void finish() {
        if (airport_) {
            if (airport_->starts.empty()) {
                airport_->starts = std::move(oldStarts_);
            }
            addFreePads();
            airports_.push_back(std::move(*airport_));
        }
        airport_.reset();
        oldStarts_.clear();
        pads_.clear();
    }

    std::string file_;
    std::vector<BadRow>& bad_;
    std::size_t line_ = 0;
    bool lastWasStart_ = false;
    bool refused_ = false; ///< the last row 1300
    std::optional<AptAirport> airport_;
    std::vector<AptStart> oldStarts_, pads_;
    std::vector<AptAirport> airports_;
};

bool hasWord(std::string_view text, std::initializer_list<std::string_view> words) {
    const std::string big = upper(text);
    return std::ranges::any_of(words, [&](std::string_view word) { return big.find(word) != std::string::npos; });
}

bool isGate(const AptStart& start) {
    return start.kind.empty() ? hasWord(start.name, {"GATE", "TERMINAL", "STAND"}) : start.kind == "gate";
}

/// The width code, guessed from the aircraft that may stand there when it is not told.
char widthOf(const AptStart& start) {
    if (start.width != 0) {
        return start.width;
    }
    const bool all = start.classes == "all";
    if (hasWord(start.classes, {"HEAVY"})) {
        return 'E';
    }
    if (all || hasWord(start.classes, {"JETS"}) || isGate(start)) {
        return 'C';
    }
    return 'B';
}

/// Half of the greatest span of the width code, in nautical miles. No clearance is added: the program itself lets an
/// aircraft exceed a stand by 1.8 m, and takes stands whose circles overlap by a tenth for one another's neighbours.
double radiusOf(char width) {
    static constexpr double spans[] = {15, 24, 36, 52, 65, 80};
    return spans[width - 'A'] / 2 / metresPerNm;
}

Stand standOf(const AptStart& start) {
    Stand stand;
    stand.lat = start.lat;
    stand.lon = start.lon;
    stand.heading = normalizeAngle(start.heading * degToRad);
    stand.radius = start.padRadius > 0 ? start.padRadius / metresPerNm : radiusOf(widthOf(start));
    stand.heli = start.classes == "helos" || (start.kind.empty() && hasWord(start.name, {"HELI"}));
    const bool unknownUse = start.operation.empty() || start.operation == "none";
    stand.cargo =
        !stand.heli && (start.operation == "cargo" || (unknownUse && hasWord(start.name, {"CARGO", "FREIGHT"})));
    stand.ramp = !isGate(start) || start.operation == "general_aviation" || start.operation == "military";
    return stand;
}

bool hasDigit(std::string_view word) {
    return std::ranges::any_of(word, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool isLetterWord(std::string_view word) {
    return word.size() == 1 && std::isalpha(static_cast<unsigned char>(word[0])) != 0;
}

/// Words that say of every stand what it is.
bool isPlainWord(std::string_view word) {
    static constexpr std::string_view plain[] = {"GATE", "STAND",   "PARKING", "POSITION", "SPOT",     "RAMP", "START",
                                                 "BAY",  "TIEDOWN", "TIE",     "DOWN",     "TIE-DOWN", "PARK", "NO"};
    return std::ranges::find(plain, upper(word)) != std::end(plain);
}

/// The words of a name without what stands in brackets and without signs around them.
std::vector<std::string_view> wordsOf(std::string_view name) {
    std::vector<std::string_view> words;
    int depth = 0;
    while (true) {
        std::string_view word = nextWord(name);
        if (word.empty()) {
            return words;
        }
        const auto opened = std::ranges::count(word, '('), closed = std::ranges::count(word, ')');
        const bool inside = depth > 0 || word.starts_with('(');
        depth = std::max(0, depth + static_cast<int>(opened - closed));
        const std::size_t begin = word.find_first_not_of(".,;:#()-_/\"'");
        if (inside || begin == std::string_view::npos) {
            continue;
        }
        word.remove_prefix(begin);
        word = word.substr(0, word.find_last_not_of(".,;:#()-_/\"'") + 1);
        words.push_back(word);
    }
}

struct Named {
    std::string id;   ///< "247"
    std::string area; ///< what tells it from another 247: "T1" of "Terminal 1 Gate 247"
};

std::string areaOf(const std::vector<std::string_view>& words, std::size_t end) {
    std::string area;
    for (std::size_t i = 0; i < end; ++i) {
        const std::string_view word = words[i];
        if (isPlainWord(word)) {
            continue;
        }
        const bool isCodeWord = hasDigit(word) || (word.size() <= 3 && word == upper(word));
        area += isCodeWord ? upper(word) : upper(word.substr(0, 1));
    }
    return area;
}

Named namedOf(std::string_view name) {
    const std::vector<std::string_view> words = wordsOf(name);
    const auto found = std::find_if(words.rbegin(), words.rend(), hasDigit);
    if (found == words.rend()) {
        if (words.empty()) {
            return {};
        }
        const std::string_view last = words.back();
        if (last.size() <= 3 && !isPlainWord(last)) {
            return {upper(last), areaOf(words, words.size() - 1)};
        }
        std::string whole;
        for (const std::string_view word : words) {
            whole += (whole.empty() ? "" : " ") + std::string(word);
        }
        return {std::move(whole), ""};
    }
    const std::size_t at = words.size() - 1 - static_cast<std::size_t>(found - words.rbegin());
    std::string id = upper(words[at]);
    std::size_t areaEnd = at;
    if (std::isdigit(static_cast<unsigned char>(id[0])) != 0) {
        // The letter of its pier belongs to the number: "T 55", "Dock A Gate 08".
        const std::size_t letter = at > 1 && isPlainWord(words[at - 1]) ? at - 2 : at - 1;
        if (at > 0 && isLetterWord(words[letter])) {
            id = upper(words[letter]) + id;
            areaEnd = letter;
        }
    }
    return {std::move(id), areaOf(words, areaEnd)};
}

/// Gives each stand an id of its own: those of one number get their area in front, and what is still the same a number
/// behind.
void giveIds(std::vector<Stand>& stands, std::vector<Named> names) {
    std::map<std::string, int, std::less<>> uses;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].id.empty()) {
            names[i].id = std::to_string(i + 1);
        }
        ++uses[names[i].id];
    }
    TextSet taken;
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string id = names[i].id;
        // The user's list of stands is one of commas.
        std::ranges::replace(id, ',', ' ');
        if (uses[names[i].id] > 1 && !names[i].area.empty()) {
            id = names[i].area + " " + id;
        }
        std::string own = id;
        for (int n = 2; taken.contains(own) || (own != names[i].id && uses.contains(own)); ++n) {
            own = fmt::format("{}-{}", id, n);
        }
        taken.insert(own);
        stands[i].id = std::move(own);
    }
}

} // namespace

std::vector<AptAirport> parseApt(std::string_view text, const std::string& file, std::vector<BadRow>& bad) {
    Reader reader(file, bad);
    std::size_t line = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view row = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line;
        if (row.ends_with('\r')) {
            row.remove_suffix(1);
        }
        if (line == 1) {
            row = strip(row);
            if (row.starts_with("\xEF\xBB\xBF")) {
                row.remove_prefix(3);
            }
            if (row != "I" && row != "A") {
                throw std::runtime_error(file + " is no apt.dat file");
            }
        } else if (line > 2) {
            if (strip(row) == "99") {
                break;
            }
            reader.row(row, line);
        }
    }
    return reader.end();
}

bool isFileCode(std::string_view code) {
    return code.size() >= 3 && code.size() <= 8 &&
           std::ranges::all_of(code, [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

std::vector<AptAirport> readApt(const fs::path& file, std::vector<BadRow>& bad) {
    return parseApt(readUnpacked(file), platform::pathText(file.filename()), bad);
}

std::string spotterId(std::string_view name) {
    return namedOf(name).id;
}

std::vector<Stand> standsOf(const AptAirport& airport, std::vector<AptStart>* starts) {
    std::vector<Stand> list;
    std::vector<Named> names;
    std::map<std::string_view, std::vector<std::size_t>> byName;
    for (const AptStart& start : airport.starts) {
        Stand stand = standOf(start);
        // A row that was entered twice; stands that overlap on purpose have names of their own.
        std::vector<std::size_t>& same = byName[start.name];
        if (std::ranges::any_of(
                same, [&](std::size_t i) { return distanceNm(list[i].position(), stand.position()) < sameSpotNm; })) {
            continue;
        }
        same.push_back(list.size());
        list.push_back(std::move(stand));
        names.push_back(namedOf(start.name));
        if (starts != nullptr) {
            starts->push_back(start);
        }
    }
    giveIds(list, std::move(names));
    return list;
}

} // namespace kes::pack
