// SPDX-License-Identifier: MIT
// A newer program on the update server: its installer is brought into the program's folder, and the user is asked to
// run it. Worker; see download.h.
#pragma once

#include "core/version.h"

#include <optional>
#include <string>

namespace kes {

/// Throws nwk::UserErrorException 99 when a new installer is ready to run. Any other failure is logged or shown.
void checkProgramVersion();
/// True when the installer is in place. Takes it over https and from a folder only, and of its zip the entry with the
/// zip's own name and ".exe"; where there is none, the last good one. A zip with another SHA-256 than the one given is
/// not unpacked.
bool installNewVersion(const Version& version, const std::optional<std::string>& sha256 = {});

} // namespace kes
