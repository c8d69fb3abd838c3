// SPDX-License-Identifier: MIT
// A program or file version: three numbers, compared in this order, and the version of this program. Pure, any thread.
#pragma once

#include <compare>
#include <string>
#include <string_view>

namespace kes {

struct Version {
    int major = 0, minor = 0, patch = 0;
    friend auto operator<=>(const Version&, const Version&) = default;
};

/// The three numbers of "a.b.c"; a missing or unreadable number and all behind it are 0. Never throws.
Version parseStoredVersion(std::string_view text);
/// "{}.{}.{}".
std::string toText(const Version& version);

inline constexpr std::string_view programVersionText = "10.10.9";
inline constexpr std::string_view programName = "Kestrelune";
/// `programVersionText`, parsed.
const Version& runningVersion();

} // namespace kes
