// SPDX-License-Identifier: MIT
// "kestrelune --check": what a flight needs, item by item, without a flight.
#pragma once

namespace kes {

/// Goes through the start in its order and prints a line for each item to the standard output, "ok" or "FAULT" with
/// what can be done. Reads what a start reads and writes no more than a start would; no scan, no download but that of
/// the reference data. 0 when a flight could begin now, 1 when something is missing. Main thread, in the program
/// folder, instead of `runProcess`.
int runCheck();

} // namespace kes
