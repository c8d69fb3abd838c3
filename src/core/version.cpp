// SPDX-License-Identifier: MIT
#include "core/version.h"

#include <charconv>

namespace kes {

Version parseStoredVersion(std::string_view text) {
    Version version;
    for (int* part : {&version.major, &version.minor, &version.patch}) {
        int number = 0;
        const char* const end = text.data() + text.size();
        const auto [behind, fault] = std::from_chars(text.data(), end, number);
        if (fault != std::errc{} || number < 0)
            break;
        *part = number;
        if (behind == end || *behind != '.')
            break;
        text.remove_prefix(static_cast<std::size_t>(behind - text.data()) + 1);
    }
    return version;
}

std::string toText(const Version& version) {
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." + std::to_string(version.patch);
}

const Version& runningVersion() {
    static const Version version = parseStoredVersion(programVersionText);
    return version;
}

} // namespace kes
