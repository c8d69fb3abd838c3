#include "feed/feed_log.h"

#include "core/clock.h"
#include "core/log.h"

#include <fmt/format.h>

namespace kes {

std::string quoted(std::string_view text, std::size_t longest) {
    const bool cut = text.size() > longest;
    std::string quote(text.substr(0, longest));
    for (char& c : quote) {
        if (c == '\r' || c == '\n' || c == '\t')
            c = ' ';
        else if (c < ' ' || c > '~')
            c = '?';
    }
    if (cut)
        quote += "...";
    return quote;
}

bool LogLimiter::mayWrite() {
    const std::int64_t now = monotonicMs();
    // A clock that went back was set by hand; its old window says nothing.
    if (written_ == 0 || now - windowStart_ >= windowMs || now < windowStart_) {
        finish();
        windowStart_ = now;
    }
    if (written_ >= linesPerWindow) {
        ++leftOut_;
        return false;
    }
    ++written_;
    return true;
}

void LogLimiter::write(std::string_view text) {
    if (mayWrite())
        log(text);
}

void LogLimiter::writeUnlessClosing(std::string_view text) {
    if (mayWrite())
        logUnlessClosing(text);
}

void LogLimiter::tellWhenDue() {
    const std::int64_t now = monotonicMs();
    if (now - windowStart_ >= windowMs || now < windowStart_)
        finish();
}

void LogLimiter::finish() {
    if (leftOut_ != 0)
        log(fmt::format("{} more messages about the feed were left out", leftOut_));
    leftOut_ = 0;
    written_ = 0;
}

} // namespace kes
