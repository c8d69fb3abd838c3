// SPDX-License-Identifier: MIT
// What the user does to the controls of the window, on its way from the backend to the worker. The worker alone changes
// parameters and knows the flight, so all but a little waits here for its next tick or wait (spine/control_rules.h).
#pragma once

#include "core/parameters.h"

#include <string>
#include <variant>
#include <vector>

namespace kes {

/// The user has ticked a box, pressed Enter in an edit box (`text`: all that stands there, UTF-8, at most 102
/// characters, nothing checked), or pressed a button. UI thread; returns at once. The backend leaves the box as the
/// user left it: what it has to show comes by the operations of core/window.h, and is another value when this one is
/// refused.
///
/// At once, whatever the worker is busy with: a change that ends the run (another simulator, install path or scan) asks
/// for its end, and ALWAYS_ON_TOP is applied.
void controlChanged(BoolBox& box, bool ticked);
void controlChanged(IntBox& box, std::string text);
void controlChanged(FloatBox& box, std::string text);
void controlChanged(TextBox& box, std::string text);
void controlChanged(const Button& button);

struct ControlChange {
    std::variant<BoolBox*, IntBox*, FloatBox*, TextBox*, const Button*> control;
    bool ticked = false;
    std::string text;
    bool endsRun = false; ///< the end of the run was asked for because of it
};
/// The changes since the last call, the oldest first; next to free of cost when there are none. Worker, or the UI
/// thread while no worker runs.
std::vector<ControlChange> takeControlChanges();

} // namespace kes
