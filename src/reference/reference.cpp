#include "reference/reference.h"

#include "core/folders.h"
#include "core/geo.h"
#include "core/log.h"
#include "core/text.h"
#include "platform/system.h"
#include "reference/csv.h"
#include "reference/regcode_forms.h"
#include "reference/text_map.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>

namespace kes {
namespace {

constexpr std::size_t categories = 6;
/// Half spans in metres for a category in which no type has a span.
constexpr std::array<double, categories> usualHalfSpan{5.5, 9.5, 17.5, 30.0, 6.0, 6.5};

struct TypeFacts {
    AircraftCategory category = AircraftCategory::light;
    double halfSpan = 0; ///< nautical miles, 0 = unknown
};

TextMap<TypeFacts> types;
TextMap<std::string> airlines; ///< code to name
TextMap<DbaseRecord> records;
/// Half spans, nautical miles; in force before the lists are read, too.
std::array<double, categories> averageSpan = [] {
    std::array<double, categories> spans = usualHalfSpan;
    for (double& span : spans) {
        span /= metresPerNm;
    }
    return spans;
}();
double largestSpan = 0;

std::size_t index(AircraftCategory category) {
    return static_cast<std::size_t>(category);
}

std::optional<AircraftCategory> categoryFrom(std::string_view word) {
    for (std::size_t i = 0; i < categories; ++i) {
        const auto category = static_cast<AircraftCategory>(i);
        if (text(category) == word) {
            return category;
        }
    }
    return std::nullopt;
}

/// The number in the whole of `word`, or nothing.
std::optional<double> wholeNumber(std::string_view word) {
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

bool takeType(std::span<const std::string_view> row) {
    const auto category = categoryFrom(row[1]);
    if (row[0].empty() || row[0].size() > 4 || !category) {
        return false;
    }
    double span = 0;
    if (!row[2].empty()) {
        const auto metres = wholeNumber(row[2]);
        if (!metres || *metres <= 0 || *metres > 150) {
            return false;
        }
        span = *metres;
    }
    return types.try_emplace(std::string(row[0]), TypeFacts{*category, span * 0.5 / metresPerNm}).second;
}

bool takeAirline(std::span<const std::string_view> row) {
    return row[0].size() == 3 && airlines.try_emplace(std::string(row[0]), std::string(row[1])).second;
}

/// An airline or type that no list knows makes a row useless: nothing could be matched with it.
bool takeRegistration(std::span<const std::string_view> row) {
    const bool airlineGood = row[1].empty() || airlineExists(row[1]);
    const bool typeGood = row[2].empty() || modelExists(row[2]);
    const bool operatorGood = row[3].empty() || airlineExists(row[3]);
    if (row[0].empty() || !airlineGood || !typeGood || !operatorGood) {
        return false;
    }
    const bool cargo = !row[4].empty() && std::string_view("1tTyY").find(row[4].front()) != std::string_view::npos;
    DbaseRecord record{std::string(row[1]), std::string(row[2]), std::string(row[3]), cargo};
    return records.try_emplace(std::string(row[0]), std::move(record)).second;
}

bool readList(const char* file, const char* noun, const std::vector<std::string_view>& columns, const CsvRow& row) {
    const std::filesystem::path path = path::input / file;
    std::string problem;
    const auto count = readCsv(path, columns, row, problem);
    if (!count) {
        log(problem);
        return false;
    }
    log(fmt::format("{} {} read from \"{}\"", count->good, noun, platform::pathText(path)));
    if (count->bad > 0) {
        log(fmt::format("! {} row{} of \"{}\" skipped: incomplete, unknown or twice there", count->bad,
                        plural(static_cast<std::int64_t>(count->bad)), platform::pathText(path)));
    }
    return count->good > 0;
}

void computeAverages() {
    std::array<double, categories> sum{};
    std::array<std::size_t, categories> count{};
    largestSpan = 0;
    for (const auto& [code, facts] : types) {
        if (facts.halfSpan > 0) {
            // Millimetres as whole numbers: the sum must not depend on the order of the table.
            sum[index(facts.category)] += std::round(facts.halfSpan * metresPerNm * 1000.0);
            ++count[index(facts.category)];
            largestSpan = std::max(largestSpan, facts.halfSpan);
        }
    }
    for (std::size_t i = 0; i < categories; ++i) {
        const double metres = count[i] > 0 ? sum[i] / static_cast<double>(count[i]) / 1000.0 : usualHalfSpan[i];
        averageSpan[i] = metres / metresPerNm;
    }
}

} // namespace

bool readDataBase() {
    types.clear();
    airlines.clear();
    records.clear();
    types.reserve(1024);
    airlines.reserve(1024);
    bool good = readList("types.csv", "aircraft types", {"code", "category", "span_m"}, takeType);
    good = readList("airlines.csv", "airlines", {"code", "name"}, takeAirline) && good;
    good = readList("registrations.csv", "registrations", {"reg", "airline", "type", "operator", "cargo"},
                    takeRegistration) &&
           good;
    computeAverages();
    return good;
}

bool modelExists(std::string_view code) {
    return !code.empty() && types.contains(code);
}

bool airlineExists(std::string_view code) {
    return airlines.contains(code);
}

std::string_view airlineName(std::string_view code) {
    const std::string* name = find(airlines, code);
    return name ? std::string_view(*name) : std::string_view();
}

AircraftCategory categoryOf(std::string_view code) {
    const TypeFacts* facts = find(types, code);
    return facts ? facts->category : AircraftCategory::light;
}

double wingspanOf(std::string_view code) {
    const TypeFacts* facts = find(types, code);
    if (facts && facts->halfSpan > 0) {
        return facts->halfSpan;
    }
    return averageSpan[index(facts ? facts->category : AircraftCategory::light)];
}

std::optional<DbaseRecord> lookupRegcode(std::string_view regcode) {
    const DbaseRecord* record = firstOfRegcodeForms(regcode, [](std::string_view form) { return find(records, form); });
    return record ? std::optional(*record) : std::nullopt;
}

std::vector<std::string> regcodeVariants(std::string_view regcode) {
    std::vector<std::string> forms;
    firstOfRegcodeForms(regcode, [&forms](std::string_view form) {
        forms.emplace_back(form);
        return static_cast<const DbaseRecord*>(nullptr);
    });
    return forms;
}

double maxWingspan() {
    return largestSpan;
}

} // namespace kes
