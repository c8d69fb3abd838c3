// SPDX-License-Identifier: MIT
// How text that comes from outside (feed, control link, simulator) goes into the log: safe to read, bounded in size and
// in number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

/// A quote longer than this many bytes is cut and ends in "...".
inline constexpr std::size_t longestQuote = 400;

/// Foreign text as part of one log line or read-out: line ends and tabs become blanks, whole UTF-8 characters stay, all
/// else that cannot be printed (control characters, bytes that are no UTF-8) becomes '?', so that nobody outside can
/// forge a line of its own or turn the log into a binary file. Cut between characters. Pure, any thread.
std::string quoted(std::string_view text, std::size_t longest = longestQuote);

/// What all limiters together may write within one minute.
inline constexpr std::int64_t foreignBudgetMs = 60000;
inline constexpr std::uint64_t foreignBudgetBytes = 2'000'000;
/// Begins a new minute of that budget; for tests.
void resetForeignBudget();

/// Writes the complaints about one source of foreign input. An unreadable field costs one line, but a flood of them
/// must not fill the disk: of the lines within 10 seconds the first 500 are written, and one line then tells how many
/// were left out. Besides, all limiters share `foreignBudgetBytes`. One thread at a time.
class LogLimiter {
public:
    static constexpr std::int64_t windowMs = 10000;
    static constexpr std::uint32_t linesPerWindow = 500;

    /// `topic` stands in the line about what was left out; a literal.
    explicit LogLimiter(std::string_view topic) : topic_(topic) {}

    void write(std::string_view text);              ///< `log`, or counted
    void writeWarning(std::string_view text);       ///< `logWarning`, or counted
    void writeUnlessClosing(std::string_view text); ///< `logUnlessClosing`, or counted
    /// Tells what was left out once the 10 seconds are over. Costs nothing while nothing was left out.
    void tellLeftOut() {
        if (leftOut_ != 0)
            tellWhenDue();
    }
    void finish(); ///< tells it now; the next line begins new 10 seconds

private:
    bool mayWrite(std::size_t bytes);
    void tellWhenDue();

    std::string_view topic_;
    std::int64_t windowStart_ = 0; ///< monotonic milliseconds
    std::uint32_t written_ = 0;    ///< 0 = no window has begun
    std::uint64_t leftOut_ = 0;
};

} // namespace kes
