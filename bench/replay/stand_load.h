// SPDX-License-Identifier: MIT
// Two hours at two full airports: what a tick costs, whether memory grows, and whether every check holds.
#pragma once

namespace kes {

/// Prints the numbers; 1 when a check has failed, else 0.
int runStandLoad(double minutes);

} // namespace kes
