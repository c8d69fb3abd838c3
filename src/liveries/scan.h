// SPDX-License-Identifier: MIT
// Finds installed liveries: walks package folders, reads every "aircraft.cfg", and leaves "output/LiveriesScanned.xml".
// Worker; files are read on threads of its own that end with the scan.
#pragma once

#include <filesystem>
#include <vector>

namespace kes {

/// Scans when SCAN_LIVERIES is on, and builds the tables from "output/LiveriesScanned.xml" in every case. Throws
/// nwk::UserErrorException: 43, 48, 53 when there is nothing to scan or nothing was found; 51, 52, 533, 99 for the
/// file, and SCAN_LIVERIES is on then.
void scanLiveries();
/// Scans folders in this order of priority. False, with the reports written, when no livery was found; true, with
/// nothing written, when the run is being closed.
bool scanFolders(const std::vector<std::filesystem::path>& folders);

} // namespace kes
