// SPDX-License-Identifier: MIT
// Where the file of an airport lies, and where what is learned of it belongs. Worker only.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// The place of the base file: a path that begins with "airports", or one on the update server ("archive/..."); empty
/// when there is none. Files made by the scan and links to the archive go before the server's stock file, which is
/// asked for by a download. Throws filesystem_error "exists" when the file system cannot tell.
std::string airportSource(std::string_view code);
/// Whether `airportSource` would find one. Links are not read. Throws the same.
bool airportFileExists(std::string_view code);

/// Throws filesystem_error "exists" when the file system cannot tell.
bool fileExists(const std::filesystem::path& path);

/// Downloads a base file of the server, "archive/..." or another relative path, to `target`. The URL is told for
/// messages. False on failure, which is logged.
bool downloadAirportFile(std::string_view path, const std::filesystem::path& target, std::string& url);

/// The folder of what is learned of a publisher's airports: "stock", "simaddon", or "thirdparty" and the publisher's
/// name, below "airports/learned". Signs that would lead out of it become '_'.
std::filesystem::path learnedFolder(std::string_view publisher);
/// The learned file that belongs to a base file.
std::filesystem::path learnedPath(std::string_view source, std::string_view publisher);

} // namespace kes
