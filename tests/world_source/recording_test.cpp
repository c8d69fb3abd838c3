// SPDX-License-Identifier: MIT
#include "world/source/recording.h"

#include <gtest/gtest.h>

using namespace kes::source;

namespace {

std::vector<double> offsets(const std::vector<std::optional<double>>& times) {
    Pace pace;
    std::vector<double> out;
    for (const auto& t : times)
        out.push_back(paceOf(pace, t));
    return out;
}

} // namespace

TEST(Recording, PaceSurvivesTimesThatDoNotFit) {
    const std::optional<double> none;
    struct Case {
        const char* what;
        std::vector<std::optional<double>> times;
        std::vector<double> offsets;
    };
    const Case cases[] = {
        {"even", {100, 101, 103.5}, {0, 1, 3.5}},
        {"lines without a time, at the start and inside", {none, 100, none, 102}, {0, 0, 0, 2}},
        {"slightly out of order", {100, 104, 103, 105}, {0, 4, 4, 5}},
        {"one wild time ahead", {100, 9e9, 101, 102}, {0, 0, 1, 2}},
        {"one wild time behind", {100, 3, 101}, {0, 0, 1}},
        {"two wild times of different kinds", {100, 9e9, 5, 101}, {0, 0, 0, 1}},
        {"a cut to another day", {100, 90000, 90001, 90003}, {0, 0, 1, 3}},
        {"a cut back, as of two recordings in one file", {5000, 100, 100.5, 102}, {0, 0, 0.5, 2}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(offsets(c.times), c.offsets) << c.what;
}
