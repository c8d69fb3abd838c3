// SPDX-License-Identifier: MIT
// What a title tells about an aircraft. Pure.
#pragma once

#include <string_view>

namespace kes::world {

/// How an aircraft of a title stands on the ground.
struct Stance {
    double cgFeet;          ///< 3 to 17
    double pitchDegrees;    ///< sign as in SimObject::pitch
    std::string_view model; ///< type code, empty when the title does not tell
};

/// From the type named in the title, else from a hash of the title: the same title always stands the same.
Stance stanceOf(std::string_view title);

} // namespace kes::world
