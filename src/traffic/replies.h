// What the simulator answers: objects that came, went or could not be made, and what is known of them. Worker only.
#pragma once

namespace kes {

/// Handles all waiting replies of the simulator, then advances the light sequences by one tick. Throws user error 81
/// when too many liveries were refused.
void applySimReplies();

} // namespace kes
