// SPDX-License-Identifier: MIT
// The park airport of a replay: its file on the replay's own update server, and its line in the user's list.
#pragma once

#include "core/geo.h"
#include "tools/pack/apt.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::replay {

/// Puts the file of an airport, or the airports of a layout in the apt.dat form (plain or gzip), on the update server
/// `updates`. The codes of the airports there; empty for an empty name. Throws std::runtime_error when the file cannot
/// be used.
std::vector<std::string> serveStands(const std::filesystem::path& stands, const std::filesystem::path& updates);
/// Writes the user's list with the one of the codes that is nearest to a place, and returns it; empty when none is
/// known. A flight reads the list when it begins.
std::string chooseParkAirport(const std::vector<std::string>& codes, LatLon place);
/// The runways that a layout has for the airport; none where `stands` is an airport file.
std::vector<pack::AptRunway> runwaysOf(const std::filesystem::path& stands, std::string_view code);

} // namespace kes::replay
