// SPDX-License-Identifier: MIT
// What each control of the window does: checks, messages, and what follows from a new value. The rules stand here and
// in no backend, and run on the worker, to whom parameters and flight belong.
#pragma once

namespace kes {

/// Carries out what the user has done to the controls since the last call. Worker, at each tick and in each wait of a
/// run, and before the parameters are read; the UI thread once more after the last run. A failure is shown on the
/// status line and costs no other change.
void applyControlChanges();

/// Enables the controls that make sense as a run begins, when its parameters have been read; others come on in its
/// course. Worker.
void enableForRun();

/// AUTO_RANGE has come to stand so: its boxes follow, and the range. Worker.
void switchAutoRange(bool on);

/// At the start of a run, when no aircraft holds a livery: forgets the liveries if the user has asked for another
/// simulator or a new scan. Worker.
void forgetOutdatedLiveries();

} // namespace kes
