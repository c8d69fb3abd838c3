// SPDX-License-Identifier: MIT
// The version files of the update server. Worker; see download.h.
#pragma once

#include "core/version.h"

#include <curl/curl.h>
#include <optional>
#include <string>
#include <string_view>

namespace kes {

/// "a.b.c" with any single character in place of a dot, or a JSON object with the integer members major, minor and
/// patch. All zero for anything else. Throws std::out_of_range "stoi argument out of range" for a number that fits no
/// int.
Version parseVersion(std::string_view text);
/// What a version file tells: besides the version, the SHA-256 of the zip beside it as the text member "sha256" of the
/// object. Nothing when there is no such member; of a member of another kind an empty text, which no zip has.
struct ServerVersion {
    Version version;
    std::optional<std::string> sha256;
};
ServerVersion parseServerVersion(std::string_view text); ///< throws as `parseVersion`
/// Of the first line of the file at `url`. All zero on any failure, which is logged.
ServerVersion fetchServerVersion(CURL* curl, const std::string& url);
Version fetchVersion(CURL* curl, const std::string& url); ///< the same without the SHA-256

} // namespace kes
