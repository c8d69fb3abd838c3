// SPDX-License-Identifier: MIT
// The stand of the user's aircraft, in step with what the simulator client sees. The client runs on a thread of its own
// and knows no stands; it leaves positions behind, and the worker, to whom all tables of airports belong, acts on them.
#pragma once

namespace kes {

/// Learns the stand that the user has left, and shows the name of the stand or airport at the newest position. To be
/// called often, for what is shown is as late as the call. Worker.
void followUserStand();

} // namespace kes
