// SPDX-License-Identifier: MIT
// The one way in which the running program changes a parameter: value, file and box go together, so that no restart
// reads a file that lacks a value, and no box shows what does not hold. On the worker; the UI thread may change while
// no worker runs (before the first run, after the last). What the user changes reaches the worker by
// core/control_changes.h.
#pragma once

#include "core/parameters.h"

#include <cstdint>
#include <string_view>

namespace kes {

/// Takes the value, clamped to the limits, saves it, and shows it in the box where there is one. A failed save is
/// logged; the value holds all the same.
void change(BoolBox& box, bool on);
void change(IntParameter& parameter, std::int64_t value);
void change(IntBox& box, std::int64_t value);
void change(TextParameter& parameter, std::string_view text);
void change(TextBox& box, std::string_view text);

/// The same without the file: for what has no place in it, and for values that hold until the next start only.
void changeForNow(BoolBox& box, bool on);
void changeForNow(IntBox& box, std::int64_t value);
void changeForNow(FloatBox& box, float value);
void changeForNow(TextBox& box, std::string_view text);

/// Writes the present value into the box, over what the user has typed there.
void showValue(const IntBox& box);
void showValue(const FloatBox& box); ///< one decimal

} // namespace kes
