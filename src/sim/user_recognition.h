// SPDX-License-Identifier: MIT
// What the user flies, as far as title and "ATC MODEL" tell it. Add-on aircraft fill the two in many ways, so a type
// code has to be found in them first; from it come the half span and the category that collision checks need. SimClient
// thread.
#pragma once

#include <string_view>

namespace kes {

/// The reply with the title, which the next model is read with. Any bytes; shown and logged.
void onUserTitle(std::string_view title);
/// The reply with the model: sets `userSpan` in nautical miles, `userCategory` where the type is known, and then
/// `userSpanKnown`. Any bytes; empty stands for an
/// encrypted aircraft. Throws nwk::UserErrorException 73 when something fails on the way.
void onUserModel(std::string_view model);
/// Forgets the title. Worker, after the SimClient thread has ended.
void resetUserRecognition();

} // namespace kes
