// SPDX-License-Identifier: MIT
#include "world/source/recording.h"

#include "core/text.h"
#include "platform/system.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <zlib.h>

namespace kes::source {

namespace {

constexpr double longestGap = 600;  // seconds without a line that a recording may hold
constexpr double smallStepBack = 5; // seconds by which lines may be out of order
constexpr std::size_t addressIndex = 1, latIndex = 2, lonIndex = 3, airborneIndex = 6;
constexpr std::size_t speedIndex = 8, callsignIndex = 9, timeIndex = 14;

/// Begin and length of a field; npos when the line has fewer.
std::pair<std::size_t, std::size_t> fieldSpan(std::string_view line, std::size_t index) {
    std::size_t begin = 0;
    for (std::size_t i = 0; i < index; ++i) {
        const std::size_t comma = line.find(',', begin);
        if (comma == std::string_view::npos) {
            return {std::string_view::npos, 0};
        }
        begin = comma + 1;
    }
    return {begin, std::min(line.find(',', begin), line.size()) - begin};
}

std::optional<double> number(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> numberField(std::string_view line, std::size_t index) {
    const auto [begin, length] = fieldSpan(line, index);
    return begin == std::string_view::npos ? std::nullopt : number(line.substr(begin, length));
}

double middleOf(std::vector<double>& values) {
    auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

std::optional<double> timeField(std::string_view line) {
    const auto time = numberField(line, timeIndex);
    return time && *time > 0 ? time : std::nullopt;
}

std::pair<std::string_view, double> callsignAndSpeed(std::string_view line) {
    const auto [begin, length] = fieldSpan(line, callsignIndex);
    const auto knots = numberField(line, speedIndex);
    if (begin == std::string_view::npos || !knots) {
        return {};
    }
    return {line.substr(begin, length), *knots};
}

std::optional<PlaceOfLine> placeOfLine(std::string_view line) {
    constexpr double highestAddress = 4294967295.0;
    const auto address = numberField(line, addressIndex), lat = numberField(line, latIndex),
               lon = numberField(line, lonIndex), airborne = numberField(line, airborneIndex);
    if (!address || *address < 0 || *address > highestAddress || !lat || !lon || !airborne) {
        return std::nullopt;
    }
    return PlaceOfLine{static_cast<std::uint32_t>(*address), {*lat, *lon}, *airborne != 0};
}

std::string withTime(const std::string& line, double epoch) {
    if (!timeField(line)) {
        return line;
    }
    const auto [begin, length] = fieldSpan(line, timeIndex);
    std::string text = line;
    return text.replace(begin, length, fmt::format("{:.1f}", epoch));
}

double paceOf(Pace& pace, std::optional<double> time) {
    if (!time) {
        return pace.offset;
    }
    if (!pace.last) {
        pace.last = time;
        return pace.offset;
    }
    const double step = *time - *pace.last;
    if (step >= 0 && step <= longestGap) {
        pace.offset += step;
        pace.last = time;
        pace.candidate.reset();
    } else if (step < 0 && step >= -smallStepBack) {
        pace.candidate.reset();
    } else if (pace.candidate && std::abs(*time - *pace.candidate) <= smallStepBack) {
        pace.offset += std::max(0.0, *time - *pace.candidate);
        pace.last = std::max(*time, *pace.candidate);
        pace.candidate.reset();
    } else {
        pace.candidate = time;
    }
    return pace.offset;
}

Recording::~Recording() {
    if (file_) {
        gzclose(file_);
    }
}

bool Recording::open(const std::filesystem::path& file, std::string& error) {
    std::error_code code;
    if (!std::filesystem::is_regular_file(file, code)) {
        error = fmt::format("{} is no file", platform::pathText(file));
        return false;
    }
    file_ = gzopen(platform::pathText(file).c_str(), "rb");
    if (!file_) {
        error = fmt::format("cannot open {}", platform::pathText(file));
        return false;
    }
    buffer_.resize(1 << 17);
    return true;
}

bool Recording::fill() {
    // A line begins at `at_`; it moves to the front, so that a whole line fits behind it.
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(at_), buffer_.begin() + static_cast<std::ptrdiff_t>(end_),
              buffer_.begin());
    end_ -= at_;
    at_ = 0;
    const int got = gzread(file_, buffer_.data() + end_, static_cast<unsigned>(buffer_.size() - end_));
    int code = Z_OK;
    const char* text = gzerror(file_, &code);
    if (got < 0 || (got == 0 && code != Z_OK && code != Z_STREAM_END)) {
        problem_ = text && *text ? text : "read error";
        return false;
    }
    end_ += static_cast<std::size_t>(got);
    return got > 0;
}

std::optional<RecordedLine> Recording::next() {
    bool overlong = false; // inside a line that fills the whole buffer
    while (file_) {
        const auto from = buffer_.begin() + static_cast<std::ptrdiff_t>(at_);
        const auto to = buffer_.begin() + static_cast<std::ptrdiff_t>(end_);
        auto stop = std::find(from, to, '\n');
        bool lastLine = false;
        if (stop == to) {
            if (at_ == 0 && end_ == buffer_.size()) {
                overlong = true;
                end_ = 0;
            }
            if (fill()) {
                continue;
            }
            lastLine = true;
        }
        const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(at_);
        if (lastLine) {
            stop = buffer_.begin() + static_cast<std::ptrdiff_t>(end_);
        }
        RecordedLine line;
        line.text.assign(begin, stop);
        at_ = lastLine ? end_ : at_ + line.text.size() + 1;
        if (lastLine) {
            gzclose(file_);
            file_ = nullptr;
            // What a damaged file leaves of its last line is half a line.
            if ((line.text.empty() && !overlong) || !problem_.empty()) {
                break;
            }
        }
        if (!line.text.empty() && line.text.back() == '\r') {
            line.text.pop_back();
        }
        if (line.text.empty() || overlong || line.text.size() > largestDatagram) {
            ++skipped_;
            overlong = false;
            continue;
        }
        const auto time = timeField(line.text);
        line.timed = time.has_value();
        line.time = paceOf(pace_, time);
        return line;
    }
    return std::nullopt;
}

std::optional<MiddlePlace> middlePlace(const std::filesystem::path& file, std::size_t lines) {
    Recording recording;
    std::string error;
    if (!recording.open(file, error)) {
        return std::nullopt;
    }
    std::vector<double> lats, lons, groundLats, groundLons;
    for (std::size_t i = 0; i < lines; ++i) {
        const auto line = recording.next();
        if (!line) {
            break;
        }
        const auto lat = numberField(line->text, latIndex), lon = numberField(line->text, lonIndex);
        if (!lat || !lon || std::abs(*lat) > 90 || std::abs(*lon) > 180 || (*lat == 0 && *lon == 0)) {
            continue;
        }
        lats.push_back(*lat);
        lons.push_back(*lon);
        if (numberField(line->text, 4).value_or(1) <= 0) {
            groundLats.push_back(*lat);
            groundLons.push_back(*lon);
        }
    }
    auto& chosenLats = groundLats.empty() ? lats : groundLats;
    auto& chosenLons = groundLons.empty() ? lons : groundLons;
    if (chosenLats.empty()) {
        return std::nullopt;
    }
    return MiddlePlace{middleOf(chosenLats), middleOf(chosenLons), !groundLats.empty()};
}

} // namespace kes::source
