// SPDX-License-Identifier: MIT
#include "tools/replay/baselines.h"

#include <algorithm>
#include <cmath>

namespace kes::replay {

namespace {

constexpr double standingSpeed = 1.0;   ///< knots
constexpr double standingMetres = 25.0; ///< noise of a standing receiver
constexpr double rollingSpeed = 3.0;    ///< knots

bool stands(const Report& from, const Report& to, double metres) {
    return !from.airborne && !to.airborne && std::max(from.gs, to.gs) < standingSpeed && metres < standingMetres;
}

} // namespace

void Baselines::add(const Report& report) {
    if (reports_.empty() || report.tick > reports_.back().tick)
        reports_.push_back(report);
}

bool Baselines::endsStanding() const {
    if (reports_.size() < 2)
        return false;
    const Report &from = reports_[reports_.size() - 2], &to = reports_.back();
    return stands(from, to, distanceNm(from.at, to.at) * metresPerNm);
}

bool Baselines::moveTo(std::int32_t tick) {
    tick_ = tick;
    while (reports_.size() > 1 && reports_[1].tick <= tick) {
        reports_.pop_front();
        legBegun_ = false;
    }
    if (reports_.size() < 2 || reports_[0].tick > tick)
        return false;
    if (!legBegun_)
        beginLeg();
    const double part = (tick - reports_[0].tick) / (seconds_ * ticksPerSecond);
    drawStraight(part);
    drawHermite(part);
    return true;
}

void Baselines::beginLeg() {
    legBegun_ = true;
    const Report &from = reports_[0], &to = reports_[1];
    metresPerLon_ = metresPerDegree * std::cos(from.at.lat * degToRad);
    north_ = (to.at.lat - from.at.lat) * metresPerDegree;
    east_ = lonDifference(from.at.lon, to.at.lon) * metresPerLon_;
    seconds_ = secondsOf(to.tick - from.tick);
    if (std::hypot(east_, north_) > 0.01)
        chord_ = normalizeAngle(std::atan2(east_, north_));
    turned_ = from.heading;
    turn_ = angleDiff(from.heading, to.heading);
    const double vFrom = from.gs * metresPerSecondPerKnot * seconds_, vTo = to.gs * metresPerSecondPerKnot * seconds_;
    tangents_ = {vFrom * std::sin(from.track), vFrom * std::cos(from.track), vTo * std::sin(to.track),
                 vTo * std::cos(to.track)};
}

void Baselines::drawStraight(double part) {
    const Report &from = reports_[0], &to = reports_[1];
    Pose& a = poses_[0];
    a.lat = from.at.lat + part * north_ / metresPerDegree;
    a.lon = from.at.lon + part * east_ / metresPerLon_;
    a.alt = from.alt + part * (to.alt - from.alt);
    a.heading = chord_;
    a.onGround = !from.airborne;
    Pose& b = poses_[1];
    b = a;
    b.heading = normalizeAngle(turned_ + part * turn_);
    b.bank = from.bank + part * (to.bank - from.bank);
}

void Baselines::drawHermite(double part) {
    const Report &from = reports_[0], &to = reports_[1];
    const double p2 = part * part, p3 = p2 * part;
    const double h10 = p3 - 2.0 * p2 + part, h01 = -2.0 * p3 + 3.0 * p2, h11 = p3 - p2;
    const double d10 = 3.0 * p2 - 4.0 * part + 1.0, d01 = 6.0 * (part - p2), d11 = 3.0 * p2 - 2.0 * part;
    const double east = h10 * tangents_[0] + h01 * east_ + h11 * tangents_[2];
    const double north = h10 * tangents_[1] + h01 * north_ + h11 * tangents_[3];
    const double alongEast = d10 * tangents_[0] + d01 * east_ + d11 * tangents_[2];
    const double alongNorth = d10 * tangents_[1] + d01 * north_ + d11 * tangents_[3];
    Pose& c = poses_[2];
    c.lat = from.at.lat + north / metresPerDegree;
    c.lon = from.at.lon + east / metresPerLon_;
    const double climbFrom = from.airborne ? from.vs / 60.0 * seconds_ : 0.0;
    const double climbTo = to.airborne ? to.vs / 60.0 * seconds_ : 0.0;
    c.alt = from.alt + h10 * climbFrom + h01 * (to.alt - from.alt) + h11 * climbTo;
    if (std::hypot(alongEast, alongNorth) > 0.5 * seconds_)
        c.heading = normalizeAngle(std::atan2(alongEast, alongNorth));
    c.bank = poses_[1].bank;
    c.onGround = !from.airborne;
}

Reference Baselines::reference() const {
    const Report &from = reports_[0], &to = reports_[1];
    Reference r;
    r.at = poses_[0].position();
    r.alt = poses_[0].alt;
    r.track = chord_;
    const double metres = std::hypot(east_, north_);
    r.gs = metres / seconds_ / metresPerSecondPerKnot;
    r.standing = stands(from, to, metres);
    r.rolling = !from.airborne && !to.airborne && std::min(from.gs, to.gs) > rollingSpeed;
    return r;
}

bool Baselines::touchesDown() const {
    return reports_.size() > 1 && reports_[0].airborne && !reports_[1].airborne && reports_[1].tick == tick_ + 1;
}

} // namespace kes::replay
