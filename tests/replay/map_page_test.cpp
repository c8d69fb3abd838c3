// SPDX-License-Identifier: MIT
#include "files.h"
#include "tools/replay/map_page.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>

namespace kes::replay {
namespace {

using Json = nlohmann::json;
using Numbers = std::vector<std::int64_t>;

struct MapPageTest : testing::Test {
    std::string write(const MapPage& page) {
        writeMapPage("map.html", page);
        return test::readFile("map.html");
    }
    test::ProgramFolder folder;
};

/// What a browser would take for the text of the data: up to the first thing that looks like the end of a script.
Json dataOf(const std::string& html) {
    const std::string_view begin = "<script id=\"data\" type=\"application/json\">";
    const std::size_t from = html.find(begin) + begin.size();
    return Json::parse(html.substr(from, html.find("</", from) - from));
}

Numbers summed(Numbers numbers) {
    std::partial_sum(numbers.begin(), numbers.end(), numbers.begin());
    return numbers;
}

Numbers unrolled(const Numbers& pairs) {
    Numbers out;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2)
        out.insert(out.end(), static_cast<std::size_t>(pairs[i + 1]), pairs[i]);
    return out;
}

TEST_F(MapPageTest, TextsComeThroughAndEndNoScript) {
    const struct {
        std::string text, read;
    } cases[] = {
        {"</script><script>alert(1)</script>", "</script><script>alert(1)</script>"},
        {"<!--<script>", "<!--<script>"},
        {"a\"b\\c'&amp;\n", "a\"b\\c'&amp;\n"},
        {std::string("nul\0\x7f", 5), std::string("nul\0\x7f", 5)},
        {"Z\xc3\xbcrich \xe2\x80\xa8", "Z\xc3\xbcrich \xe2\x80\xa8"},
        {"bad\xff\xfe", "bad\xef\xbf\xbd\xef\xbf\xbd"},
        {"", ""},
    };
    for (const auto& row : cases) {
        const std::string html = write({row.text, {row.text}, {{row.text, row.text, 0.01, {}, {}, {}}}});
        const Json data = dataOf(html), &aircraft = data["aircraft"].at(0);
        for (const Json& read : {data["title"], data["phases"].at(0), aircraft["callsign"], aircraft["model"]})
            EXPECT_EQ(read, row.read);
        EXPECT_EQ(html.find("alert(1)</"), std::string::npos) << row.text;
        EXPECT_EQ(html.find("<!--"), std::string::npos) << row.text;
    }
}

TEST_F(MapPageTest, NumbersAreWholeStepsFromOneToTheNext) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinite = HUGE_VAL;
    MapAircraft a{"ABC1", "A320", 0.00972, {}, {}, {}};
    a.reports = {{12.34, 1, 2, 3, 140, -1, false}, {4.5, 51.5, -0.25, -12.6, 0.26, 359.96, true}};
    for (int i = 0; i < 5; ++i)
        a.shown.push_back({1.0 + i, -33.9 + 1e-3 * i, 179.9999995 - 2e-6 * i, 1000.4 - 10 * i, 90.0 * i, 250.05, 2});
    a.shown.back().phase = 7;
    a.shown.insert(a.shown.begin() + 2, {{nan, 0, 0, 0, 0, 0, 0},
                                         {3, infinite, 0, 0, 0, 0, 0},
                                         {3, 0, nan, 0, 0, 0, 0},
                                         {3, 0, 0, 1e300, 0, 0, 0},
                                         {3, 0, 0, 0, -infinite, 0, 0},
                                         {3, 0, 0, 0, 0, nan, 0}});
    const Json data = dataOf(write({"t", {}, {a, {"", "", nan, {}, {}, {}}}})), &read = data["aircraft"].at(0);
    EXPECT_EQ(read["halfSpan"], 180);
    EXPECT_EQ(data["aircraft"].at(1)["halfSpan"], 0);
    const struct {
        const char *series, *column;
        Numbers values;
    } cases[] = {
        {"reports", "s", {450, 1234}}, // by time
        {"reports", "lat", {51500000, 1000000}},
        {"reports", "lon", {-250000, 2000000}},
        {"reports", "alt", {-13, 3}},
        {"reports", "gs", {3, 1400}},
        {"reports", "heading", {3600, -10}},
        {"reports", "mark", {1, 0}},
        {"shown", "s", {100, 200, 300, 400, 500}},
        {"shown", "lat", {-33900000, -33899000, -33898000, -33897000, -33896000}},
        {"shown", "lon", {180000000, 179999998, 179999996, 179999994, 179999992}},
        {"shown", "alt", {1000, 990, 980, 970, 960}},
        {"shown", "gs", {2501, 2501, 2501, 2501, 2501}},
        {"shown", "heading", {0, 900, 1800, 2700, 3600}},
        {"shown", "mark", {2, 2, 2, 2, 7}},
        {"truth", "lat", {}},
        {"truth", "s", {}},
    };
    for (const auto& row : cases) {
        const std::string column = row.column;
        Numbers values = read[row.series][column];
        if (column == "s" || column == "mark")
            values = unrolled(values);
        if (column != "mark")
            values = summed(values);
        if (column == "lat" || column == "lon")
            values = summed(values);
        EXPECT_EQ(values, row.values) << row.series << ' ' << column;
    }
    EXPECT_EQ(read["shown"]["s"], Json({100, 5})) << "even steps must cost nothing";
}

TEST_F(MapPageTest, TheSurroundingsComeThrough) {
    MapPage page{"t", {}, {}};
    page.epoch = 1601625601.5;
    page.userLat = 41.2971;
    page.userLon = -2.0785;
    page.runways = {{"07L/25R", 60.06, {41.29, 2.07}, {41.31, 2.1}}};
    page.stands = {{"A\"</script>", 41.3, 2.1, 36.04, 270.06}, {"B", HUGE_VAL, 0, 0, 0}};
    page.worst = {{3, 12.345, "jump 1 m (air)"}};
    const Json data = dataOf(write(page));
    EXPECT_EQ(data["epoch"], 1601625601.5);
    EXPECT_EQ(data["user"], Json({41.2971, -2.0785}));
    EXPECT_EQ(data["runways"], Json({{"07L/25R", 60.1, 41.29, 2.07, 41.31, 2.1}}));
    EXPECT_EQ(data["stands"], Json({{"A\"</script>", 41.3, 2.1, 36.0, 270.1}, {"B", 0.0, 0.0, 0.0, 0.0}}));
    EXPECT_EQ(data["worst"], Json::array({{3, 12.35, "jump 1 m (air)"}}));
    page.epoch = HUGE_VAL;
    EXPECT_EQ(dataOf(write(page))["epoch"], 0.0);
}

TEST_F(MapPageTest, EqualDataGiveEqualBytesThatNeedNoNetwork) {
    const MapPage page{"t", {"air"}, {{"A", "B", 0.01, {{1, 2, 3, 4, 5, 6, true}}, {{1, 2, 3, 4, 5, 6, 0}}, {}}}};
    const std::string html = write(page);
    EXPECT_EQ(html, write(page));
    for (const char* outside : {"http:", "https:", "src=", "@import", "url("})
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    const std::string told = test::thrownBy([&] { writeMapPage("no folder/map.html", page); });
    EXPECT_NE(told.find("no folder/map.html"), std::string::npos) << told;
}

} // namespace
} // namespace kes::replay
