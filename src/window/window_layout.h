// SPDX-License-Identifier: MIT
// Where the controls of the main window stand, and what is written beside them. Pixels at 96 dpi, from the client
// area's upper left corner. Fixed tables, any thread.
#pragma once

#include "core/parameters.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace kes {

inline constexpr int windowWidth = 880, windowHeight = 516;
inline constexpr int rowHeight = 24; ///< of a control; the rows are 28 apart
inline constexpr int messageRow = 455, messageColumn = 3;
/// What can be done about the message stands below it, in smaller steps than the rows.
inline constexpr int adviceRow = 479, adviceLines = 2, adviceLineHeight = 18;

/// One control, at its parameter's row.
struct PlacedControl {
    std::variant<BoolBox*, IntBox*, FloatBox*, TextBox*, const Button*> control;
    int x = 0, width = 0;
    std::string_view label; ///< right of a tick box (& marks the access key), left of an edit box; a button has its own
    std::string_view tip;   ///< one line: what it does
    const Control& base() const; ///< the box or button itself
    /// The tip with the limits of a number behind it.
    std::string wholeTip() const;
};
/// All of them, in the order of the Tab key: by rows, from left to right.
std::span<const PlacedControl> placedControls();

/// A word that belongs to no control, or stands behind one.
struct PlacedLabel {
    int x = 0, row = 0;
    std::string_view text;
    const Control* of = nullptr; ///< grey while this one is disabled; null = never
};
std::span<const PlacedLabel> placedLabels(); ///< all of them

} // namespace kes
