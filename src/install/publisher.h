// SPDX-License-Identifier: MIT
// Who published an add-on airport: told by its path, or else by the manifest of the package that it lies in. Any thread
// once the reference data is read. What is found is told in lines for the log of the scan, added to `lines`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// What a package's "manifest.json" says of it; empty where it says nothing. At most `longestQuote` bytes each, without
/// characters that cannot be printed.
struct ManifestInfo {
    std::string manufacturer, creator, title;
};

struct PublisherInfo {
    std::string publisher = "unknown";        ///< "simaddon", a canonical name of the reference data, or "unknown"
    std::string manufacturer, creator, title; ///< empty unless a manifest was read
};

/// The publisher of a scenery file. Never throws for what stands in files or names.
PublisherInfo findPublisher(const std::string& path, std::vector<std::string>& lines);
/// The manifest of the package that holds a file; nothing when there is none, or none that can be used.
std::optional<ManifestInfo> lf_searchManifest(const std::string& path, std::vector<std::string>& lines);

/// The manifest in a folder; empty when there is none. Its name is "manifest.json" in this case only.
std::filesystem::path findManifestFile(const std::filesystem::path& folder);
/// Nothing when the file cannot be read or is no JSON object. A member that is no text is told and taken as empty.
std::optional<ManifestInfo> readManifest(const std::filesystem::path& file, std::vector<std::string>& lines);
/// The same for the bytes of a file.
std::optional<ManifestInfo> parseManifest(std::string_view bytes, std::vector<std::string>& lines);

} // namespace kes
