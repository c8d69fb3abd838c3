// SPDX-License-Identifier: MIT
// A recording of traffic lines, plain or gzip, read line by line and given times to be sent at. One thread.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct gzFile_s;

namespace kes::source {

/// A line as it goes out, without its line end, and the seconds from the first line at which it does.
struct RecordedLine {
    std::string text;
    double time = 0;
    bool timed = false; ///< the line's own time field could be read
};

/// Field 14, or nothing when there is none or it is no number.
std::optional<double> timeField(std::string_view line);
/// Callsign and ground speed in knots of a line; no callsign when it has none, or no speed that is a number.
std::pair<std::string_view, double> callsignAndSpeed(std::string_view line);
/// Where a line has its aircraft; nothing when one of the numbers cannot be read.
struct PlaceOfLine {
    std::uint32_t hexid = 0;
    LatLon at;
    bool airborne = false;
};
std::optional<PlaceOfLine> placeOfLine(std::string_view line);
/// The line with field 14 replaced by a time with one decimal; unchanged when the line has no time of its own.
std::string withTime(const std::string& line, double epoch);

/// Turns the time fields of a recording into offsets that never run backwards. A line without a time, or with one that
/// does not fit its neighbours, goes out right behind the line before it; when the recording goes on at that other
/// time, it is a cut and the pace goes on from there.
struct Pace {
    std::optional<double> last, candidate;
    double offset = 0;
};
/// The offset of the next line, seconds from the first one.
double paceOf(Pace& pace, std::optional<double> time);

/// Largest datagram that UDP carries.
inline constexpr std::size_t largestDatagram = 65507;

class Recording {
public:
    Recording() = default;
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording();
    /// False with a reason when the file cannot be opened.
    bool open(const std::filesystem::path& file, std::string& error);
    /// The next line that fits a datagram, or nothing at the end. A damaged file ends where it is damaged, with
    /// `problem` set.
    std::optional<RecordedLine> next();
    std::uint64_t skipped() const { return skipped_; }      ///< empty and overlong lines
    const std::string& problem() const { return problem_; } ///< empty while there is none

private:
    bool fill();
    gzFile_s* file_ = nullptr;
    std::vector<char> buffer_;
    std::size_t at_ = 0, end_ = 0;
    Pace pace_;
    std::uint64_t skipped_ = 0;
    std::string problem_;
};

/// Latitude and longitude in the middle of the first `lines` lines: of those on the ground when there are some, else
/// of all; nothing when no line tells a place or the file cannot be read.
struct MiddlePlace {
    double lat = 0, lon = 0;
    bool onGround = false; ///< taken from lines on the ground
};
std::optional<MiddlePlace> middlePlace(const std::filesystem::path& file, std::size_t lines);

} // namespace kes::source
