// SPDX-License-Identifier: MIT
#include "tools/replay/series.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace kes::replay {

namespace {
constexpr int mantissaShift = 47; ///< leaves the exponent and five bits of a double
constexpr double largest = 8388608.0;
} // namespace

void Series::add(double value, Place place) {
    if (!(value <= largest)) // not a number as well
        value = largest;
    std::size_t bin = 0;
    const auto bits = std::bit_cast<std::uint64_t>(std::fabs(value)) >> mantissaShift;
    constexpr std::uint64_t first = static_cast<std::uint64_t>(1023 + lowestExponent) * binsPerOctave;
    if (bits >= first)
        bin = std::min<std::size_t>(1 + static_cast<std::size_t>(bits - first), bins_.size() - 1);
    ++bins_[bin];
    ++count_;
    sum_ += value;
    if (value > maximum_) {
        maximum_ = value;
        worst_ = place;
    }
}

void Series::add(const Series& other) {
    for (std::size_t i = 0; i < bins_.size(); ++i)
        bins_[i] += other.bins_[i];
    count_ += other.count_;
    sum_ += other.sum_;
    if (other.maximum_ > maximum_) {
        maximum_ = other.maximum_;
        worst_ = other.worst_;
    }
}

double Series::quantile(double part) const {
    if (count_ == 0)
        return 0.0;
    const auto wanted = static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(count_)));
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < bins_.size(); ++i) {
        seen += bins_[i];
        if (seen < std::max<std::uint64_t>(wanted, 1))
            continue;
        if (i == 0)
            return 0.0;
        const auto at = static_cast<int>(i - 1);
        const double low = std::ldexp(1.0 + static_cast<double>(at % binsPerOctave) / binsPerOctave,
                                      lowestExponent + at / binsPerOctave);
        const double width = std::ldexp(1.0 / binsPerOctave, lowestExponent + at / binsPerOctave);
        return std::min(low + width / 2.0, maximum_);
    }
    return maximum_;
}

} // namespace kes::replay
