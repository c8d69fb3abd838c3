// SPDX-License-Identifier: MIT
// Airports of add-ons that the archive could learn from: those whose stock file has enough traffic are put into a
// folder that the user may send in. Worker.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// Whether the stock file of the update server has quality and traffic enough. Asks by a download.
bool suitableForOffline(std::string_view code);
/// Empty when a generated file tells who has made the airport, else why it does not.
std::string offlineCandidate(const std::filesystem::path& path);
/// Generated files whose names are codes of airports, by name.
std::vector<std::filesystem::path> generatedAirports();
/// Copies those that fit into the folder for the hand-over; their number. A generated file with a link beside it is
/// then removed. Ends early once the run is to end.
std::int32_t gatherForHandOver(const std::vector<std::filesystem::path>& files);

} // namespace kes
