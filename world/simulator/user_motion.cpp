// SPDX-License-Identifier: MIT
#include "world/simulator/user_motion.h"

#include "core/geo.h"
#include "core/text.h"
#include "platform/system.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace kes::world {

namespace {

double speedBetween(const TrackPoint& a, const TrackPoint& b) {
    return distanceNm({a.lat, a.lon}, {b.lat, b.lon}) / (b.seconds - a.seconds) * 3600.0;
}

/// The way round the globe that a short step takes.
double stepLon(double from, double to) {
    const double d = to - from;
    return d > 180.0 ? d - 360.0 : d < -180.0 ? d + 360.0 : d;
}

void placeOnTrack(SimObject& user, const UserMotion& motion) {
    const std::vector<TrackPoint>& track = motion.track;
    const auto next = std::upper_bound(track.begin(), track.end(), motion.seconds,
                                       [](double t, const TrackPoint& point) { return t < point.seconds; });
    const bool before = next == track.begin();
    const bool behind = next == track.end();
    const TrackPoint& a = before ? track.front() : *(next - 1);
    user.lat = a.lat;
    user.lon = a.lon;
    user.alt = a.alt;
    user.heading = normalizeAngle(a.heading * degToRad);
    user.tas = 0;
    user.vs = 0;
    if (before || behind)
        return;
    const TrackPoint& b = *next;
    const double part = (motion.seconds - a.seconds) / (b.seconds - a.seconds);
    user.lat += (b.lat - a.lat) * part;
    user.lon += stepLon(a.lon, b.lon) * part;
    user.lon = user.lon > 180.0 ? user.lon - 360.0 : user.lon < -180.0 ? user.lon + 360.0 : user.lon;
    user.alt += (b.alt - a.alt) * part;
    user.heading = normalizeAngle(user.heading + angleDiff(a.heading * degToRad, b.heading * degToRad) * part);
    user.tas = a.knots + (b.knots - a.knots) * part;
    user.vs = (b.alt - a.alt) / (b.seconds - a.seconds);
}

void keepAboveGround(SimObject& user, const Terrain& terrain) {
    const double standing = terrainFeet(terrain, user.lat, user.lon) + user.staticCg;
    if (user.alt > standing)
        return;
    user.alt = standing;
    user.vs = std::max(user.vs, 0.0);
    user.pitch = user.staticPitch;
}

} // namespace

std::vector<TrackPoint> parseTrack(std::string_view content) {
    std::vector<TrackPoint> track;
    std::vector<bool> speedKnown;
    std::vector<double> n;
    int number = 0;
    bool headAllowed = true;
    for (const std::string_view raw : split(content, '\n')) {
        ++number;
        const std::string_view line = strip(raw);
        if (line.empty() || line.starts_with('#'))
            continue;
        if (!parseNumbers(line, 5, 6, n)) {
            const bool head =
                std::exchange(headAllowed, false) && std::isalpha(static_cast<unsigned char>(line.front()));
            if (head)
                continue;
            throw std::runtime_error(fmt::format("line {}: not seconds,lat,lon,alt_ft,heading_deg[,gs_kt]", number));
        }
        headAllowed = false;
        if (std::abs(n[1]) > 90.0 || std::abs(n[2]) > 180.0)
            throw std::runtime_error(fmt::format("line {}: no position on the globe", number));
        if (!track.empty() && n[0] <= track.back().seconds)
            throw std::runtime_error(fmt::format("line {}: time does not grow", number));
        track.push_back({n[0], n[1], n[2], n[3], n[4], n.size() == 6 ? n[5] : 0.0});
        speedKnown.push_back(n.size() == 6);
    }
    if (track.empty())
        throw std::runtime_error("no position in it");
    for (std::size_t i = 0; i < track.size(); ++i)
        if (!speedKnown[i] && track.size() > 1)
            track[i].knots =
                i + 1 < track.size() ? speedBetween(track[i], track[i + 1]) : speedBetween(track[i - 1], track[i]);
    return track;
}

bool parseUserMotion(std::string_view text, UserMotion& motion, std::string& error) {
    UserMotion result;
    if (text == "stand") {
        motion = result;
        return true;
    }
    if (text.starts_with("fly:")) {
        std::vector<double> n;
        if (!parseNumbers(text.substr(4), 2, 3, n)) {
            error = "fly wants KTS,HDG[,FPM]";
            return false;
        }
        result.mode = UserMotion::Mode::fly;
        result.knots = n[0];
        result.heading = n[1];
        result.fpm = n.size() == 3 ? n[2] : 0.0;
        motion = result;
        return true;
    }
    if (text.starts_with("file:")) {
        std::ifstream in(platform::pathFrom(text.substr(5)), std::ios::binary);
        if (!in) {
            error = fmt::format("cannot read {}", text.substr(5));
            return false;
        }
        try {
            result.track = parseTrack(std::string(std::istreambuf_iterator<char>(in), {}));
        } catch (const std::runtime_error& e) {
            error = fmt::format("{}: {}", text.substr(5), e.what());
            return false;
        }
        result.mode = UserMotion::Mode::file;
        motion = std::move(result);
        return true;
    }
    error = "user wants stand, fly:KTS,HDG[,FPM] or file:CSV";
    return false;
}

void startUserMotion(SimObject& user, UserMotion& motion, const Terrain& terrain) {
    motion.seconds = 0;
    if (motion.mode == UserMotion::Mode::file)
        motion.seconds = motion.track.front().seconds;
    moveUser(user, motion, terrain, 0.0);
}

void moveUser(SimObject& user, UserMotion& motion, const Terrain& terrain, double seconds) {
    switch (motion.mode) {
    case UserMotion::Mode::stand:
        user.tas = 0;
        user.vs = 0;
        break;
    case UserMotion::Mode::fly: {
        user.heading = normalizeAngle(motion.heading * degToRad);
        user.tas = motion.knots;
        user.vs = motion.fpm / 60.0;
        if (!user.freezeLatLon) {
            const LatLon there =
                destination({user.lat, user.lon}, user.heading, motion.knots * feetPerNm / 3600.0 * seconds);
            user.lat = there.lat;
            user.lon = there.lon;
        }
        if (!user.freezeAltitude)
            user.alt += user.vs * seconds;
        break;
    }
    case UserMotion::Mode::file:
        motion.seconds += seconds;
        placeOnTrack(user, motion);
        break;
    }
    keepAboveGround(user, terrain);
}

} // namespace kes::world
