// SPDX-License-Identifier: MIT
// Everything of live traffic that a run leaves behind, put back at once, so that the next run of the process begins as
// the first one did. Worker only.
#pragma once

namespace kes {

/// All tables, queues and lists of live traffic back to their start values; stands and static aircraft are not touched.
void resetLiveTraffic();

} // namespace kes
