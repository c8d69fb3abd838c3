// SPDX-License-Identifier: MIT
#include "tools/replay/series.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace kes::replay {
namespace {

TEST(Series, QuantilesComeWithinABinOfTheTruth) {
    std::mt19937 random(1);
    std::vector<double> values;
    Series series;
    for (int i = 0; i < 20000; ++i) {
        const double v = i % 10 == 0 ? 0.0 : std::exp(static_cast<double>(random() % 2000) / 100.0 - 12.0);
        values.push_back(v);
        series.add(v, {7, i});
    }
    std::sort(values.begin(), values.end());
    for (const double part : {0.05, 0.5, 0.95, 0.999}) {
        const double exact = values[static_cast<std::size_t>(std::ceil(part * 20000)) - 1];
        EXPECT_NEAR(series.quantile(part), exact, exact * 0.03) << part;
    }
    EXPECT_EQ(series.count(), 20000U);
    EXPECT_EQ(series.maximum(), values.back());
    Series whole, rest;
    for (int i = 0; i < 20000; ++i)
        (i < 13000 ? whole : rest).add(values[i], {7, i});
    whole.add(rest);
    EXPECT_EQ(whole.count(), 20000U);
    EXPECT_EQ(whole.quantile(0.95), series.quantile(0.95));
    EXPECT_EQ(whole.maximum(), series.maximum());
    series.add(std::numeric_limits<double>::quiet_NaN(), {9, 5});
    EXPECT_EQ(series.worst().aircraft, 9U) << "what is no number is the worst there can be";
}

} // namespace
} // namespace kes::replay
