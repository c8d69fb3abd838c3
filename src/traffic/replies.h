// SPDX-License-Identifier: MIT
// What the simulator answers: objects that came, went or could not be made, and what is known of them. Each answer
// finds its aircraft, or the object that nobody waits for is taken away again. Worker only.
#pragma once

namespace kes {

/// Handles all waiting replies of the simulator, then advances the light sequences by one tick. Throws user error 81
/// when too many liveries were refused.
void applySimReplies();

} // namespace kes
