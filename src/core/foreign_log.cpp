// SPDX-License-Identifier: MIT
#include "core/foreign_log.h"

#include "core/clock.h"
#include "core/log.h"
#include "platform/utf8.h"

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

/// The bytes of the printable character that starts at `at`: 1 to 4, or 0 when none does.
std::size_t characterLength(std::string_view text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80)
        return first >= ' ' && first != 0x7F ? 1 : 0;
    const std::size_t length = platform::utf8Length(text, at);
    const bool control = first == 0xC2 && length != 0 && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    return control ? 0 : length;
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
