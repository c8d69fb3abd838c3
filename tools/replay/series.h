// SPDX-License-Identifier: MIT
// How a quantity is distributed over many samples, in constant memory, and where the worst one was.
#pragma once

#include <array>
#include <cstdint>

namespace kes::replay {

/// Where and when a sample was taken.
struct Place {
    std::uint32_t aircraft = 0; ///< place in the list of aircraft
    std::int32_t tick = 0;      ///< of the replay
};

/// Samples are 0 or more; what is not finite counts as the largest. Quantiles come from bins 3 % wide and are exact to
/// half a bin; values below 2^-20 count as 0.
class Series {
public:
    void add(double value, Place place);
    void add(const Series& other); ///< all samples of another one
    std::uint64_t count() const { return count_; }
    double mean() const { return count_ > 0 ? sum_ / static_cast<double>(count_) : 0.0; }
    double maximum() const { return maximum_; }
    Place worst() const { return worst_; }
    double quantile(double part) const; ///< `part` 0 to 1; 0 without samples

private:
    static constexpr int lowestExponent = -20, exponents = 44, binsPerOctave = 32;
    std::array<std::uint32_t, 1 + exponents * binsPerOctave> bins_{};
    std::uint64_t count_ = 0;
    double sum_ = 0, maximum_ = -1;
    Place worst_;
};

} // namespace kes::replay
