#include "core/foreign_log.h"

#include "core/clock.h"
#include "core/log.h"

#include <algorithm>
#include <atomic>
#include <fmt/format.h>

namespace kes {

namespace {

// A race between two threads at the turn of a minute costs at most one line more.
std::atomic<std::int64_t> budgetStart{0};
std::atomic<std::uint64_t> budgetUsed{0};

bool withinBudget(std::size_t bytes, std::int64_t now) {
    const std::int64_t start = budgetStart;
    if (now - start >= foreignBudgetMs || now < start) {
        budgetStart = now;
        budgetUsed = 0;
    }
    if (budgetUsed + bytes > foreignBudgetBytes)
        return false;
    budgetUsed += bytes;
    return true;
}

bool continues(std::string_view text, std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

/// The bytes of the printable character that starts at `at`: 1 to 4, or 0 when none does.
std::size_t characterLength(std::string_view text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80)
        return first >= ' ' && first != 0x7F ? 1 : 0;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (!continues(text, at + i))
            return 0;
    const auto second = static_cast<unsigned char>(text[at + 1]);
    const bool control = first == 0xC2 && second < 0xA0;
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second >= 0xA0;
    const bool beyond = first == 0xF4 && second >= 0x90;
    return control || overlong || surrogate || beyond ? 0 : length;
}

} // namespace

std::string quoted(std::string_view text, std::size_t longest) {
    std::string quote;
    quote.reserve(std::min(text.size(), longest + 3));
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (at + std::max<std::size_t>(length, 1) > longest) {
            quote += "...";
            break;
        }
        const char c = text[at];
        if (length != 0)
            quote += text.substr(at, length);
        else
            quote += c == '\r' || c == '\n' || c == '\t' ? ' ' : '?';
        at += std::max<std::size_t>(length, 1);
    }
    return quote;
}

void resetForeignBudget() {
    budgetStart = 0;
    budgetUsed = 0;
}

bool LogLimiter::mayWrite(std::size_t bytes) {
    const std::int64_t now = monotonicMs();
    // A clock that went back was set by hand; its old window says nothing.
    if (written_ == 0 || now - windowStart_ >= windowMs || now < windowStart_) {
        finish();
        windowStart_ = now;
    }
    if (written_ >= linesPerWindow || !withinBudget(bytes, now)) {
        ++leftOut_;
        return false;
    }
    ++written_;
    return true;
}

void LogLimiter::write(std::string_view text) {
    if (mayWrite(text.size()))
        log(text);
}

void LogLimiter::writeWarning(std::string_view text) {
    if (mayWrite(text.size()))
        logWarning(text);
}

void LogLimiter::writeUnlessClosing(std::string_view text) {
    if (mayWrite(text.size()))
        logUnlessClosing(text);
}

void LogLimiter::tellWhenDue() {
    const std::int64_t now = monotonicMs();
    if (now - windowStart_ >= windowMs || now < windowStart_)
        finish();
}

void LogLimiter::finish() {
    if (leftOut_ != 0)
        log(fmt::format("{} more messages about the {} were left out", leftOut_, topic_));
    leftOut_ = 0;
    written_ = 0;
}

} // namespace kes
