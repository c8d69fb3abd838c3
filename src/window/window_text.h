// SPDX-License-Identifier: MIT
// What the main window tells beside its controls: the read-outs as texts, each with its place and its tone. Built on
// the UI thread each time the window is painted, from values that other threads write.
#pragma once

#include "core/window.h"

#include <string>
#include <vector>

namespace kes {

enum class Tone : std::uint8_t { normal, title, grey, highlight, warning };

struct DrawnText {
    int x = 0, y = 0, width = 0; ///< pixels at 96 dpi; what does not fit ends in an ellipsis
    Tone tone = Tone::normal;
    std::string text;
    bool hasLamp = false; ///< a lamp stands before the text
    Lamp lamp = Lamp::off;
    friend bool operator==(const DrawnText&, const DrawnText&) = default;
};

/// All read-outs, always as many and in the same order; `texts` keeps its room. An empty one draws nothing.
void buildWindowTexts(std::vector<DrawnText>& texts);

} // namespace kes
