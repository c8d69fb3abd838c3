// SPDX-License-Identifier: MIT
// How the user's aircraft moves: it stands, flies straight, or follows a file.
#pragma once

#include "world/simulator/object.h"
#include "world/simulator/terrain.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world {

struct TrackPoint {
    double seconds = 0;
    double lat = 0, lon = 0, alt = 0; ///< degrees, feet
    double heading = 0;               ///< degrees
    double knots = 0;                 ///< ground speed
};

struct UserMotion {
    enum class Mode { stand, fly, file } mode = Mode::stand;
    double knots = 0, heading = 0, fpm = 0; ///< fly: heading in degrees true
    std::vector<TrackPoint> track; ///< file: by time; before its first row and behind its last the aircraft stands
    double seconds = 0;            ///< file: time on the track
};

/// "stand", "fly:KTS,HDG[,FPM]" or "file:CSV". False with the reason in `error`.
bool parseUserMotion(std::string_view text, UserMotion& motion, std::string& error);
/// Rows seconds,lat,lon,alt_ft,heading_deg[,gs_kt]; lines that begin with '#' and a head line are passed over. Without
/// a speed it follows from the distance to the next row. Throws runtime_error with the line's number.
std::vector<TrackPoint> parseTrack(std::string_view content);

/// Puts the aircraft at the start of its motion.
void startUserMotion(SimObject& user, UserMotion& motion, const Terrain& terrain);
/// Moves it on by some seconds; it never sinks below its height on the ground.
void moveUser(SimObject& user, UserMotion& motion, const Terrain& terrain, double seconds);

} // namespace kes::world
