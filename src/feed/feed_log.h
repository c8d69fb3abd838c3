// How the feed writes foreign text into the log: safe to read, bounded in size and in number.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

/// A quote longer than this many bytes is cut and ends in "...".
inline constexpr std::size_t longestQuote = 400;

/// Foreign text as part of one log line: line ends and tabs become blanks, all else that is not printable ASCII
/// becomes '?', so that no datagram can forge a line of its own. Pure, any thread.
std::string quoted(std::string_view text, std::size_t longest = longestQuote);

/// Writes the complaints of one reader. An unreadable field costs one line, but a flood of them must not fill the disk:
/// of the lines within 10 seconds the first 500 are written, and one line then tells how many were left out.
/// Reader thread only.
class LogLimiter {
public:
    static constexpr std::int64_t windowMs = 10000;
    static constexpr std::uint32_t linesPerWindow = 500;

    void write(std::string_view text);              ///< `log`, or counted
    void writeUnlessClosing(std::string_view text); ///< `logUnlessClosing`, or counted
    /// Tells what was left out once the 10 seconds are over. Costs nothing while nothing was left out.
    void tellLeftOut() {
        if (leftOut_ != 0)
            tellWhenDue();
    }
    void finish(); ///< tells it now; the next line begins new 10 seconds

private:
    bool mayWrite();
    void tellWhenDue();

    std::int64_t windowStart_ = 0; ///< monotonic milliseconds
    std::uint32_t written_ = 0;    ///< 0 = no window has begun
    std::uint64_t leftOut_ = 0;
};

} // namespace kes
