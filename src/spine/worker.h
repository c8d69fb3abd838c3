// SPDX-License-Identifier: MIT
// One run of the program from its start-up to its close-down, as the body of the worker thread: parameters, folders,
// updates, reference data, liveries, airports, then the traffic. What ends it early is told to the user at its one
// barrier. Worker only.
#pragma once

#include "core/parameters.h"

#include <cstdint>

namespace kes {

/// The whole of a run, ending in `lf_closingDown`. Throws nothing: what a run throws becomes its error line.
void workerMain();
/// The first part of a run, up to the airport table. Throws nwk::UserErrorException for what the user has to put right,
/// runtime_error and filesystem_error for what failed.
void startUp();
/// Stores the running version; a newer one than last time asks for new scans.
void versionUpdateStep();

/// LATERAL_RANGE in nautical miles at the start of the run, or at the last switch of AUTO_RANGE: where switching it off
/// leads back to.
extern std::int32_t rememberedRange;
/// The install path of the simulator that MSFS_2020 selects. Any thread, as the parameter itself.
TextParameter& selectedInstallPath();

} // namespace kes
