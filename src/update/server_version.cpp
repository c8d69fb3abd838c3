// SPDX-License-Identifier: MIT
#include "update/server_version.h"

#include "core/foreign_log.h"
#include "core/log.h"
#include "platform/file.h"
#include "update/download.h"

#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>
#include <stdexcept>

namespace kes {

namespace {

constexpr const char* versionFile = "version.json";
constexpr std::uint64_t longestVersionFile = 65536; ///< bytes

int number(const std::string& digits) {
    try {
        return std::stoi(digits);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

int member(const nlohmann::json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_integer())
        return 0;
    // A number that fits no signed 64 bits would come back as a negative one.
    const bool huge = found->is_number_unsigned() && found->get<std::uint64_t>() > std::numeric_limits<int>::max();
    const auto value = found->get<std::int64_t>();
    if (huge || value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        throw std::out_of_range("stoi argument out of range");
    return static_cast<int>(value);
}

} // namespace

Version parseVersion(std::string_view text) {
    if (text.empty())
        return {};
    // A version is short; a long line is none, and the expression need not see it.
    constexpr std::size_t longest = 200;
    static const std::regex pattern("(\\d+).(\\d+).(\\d+)");
    std::match_results<std::string_view::const_iterator> match;
    if (text.size() <= longest && std::regex_match(text.begin(), text.end(), match, pattern))
        return {number(match[1].str()), number(match[2].str()), number(match[3].str())};
    const auto object = nlohmann::json::parse(text, nullptr, false);
    if (!object.is_object())
        return {};
    return {member(object, "major"), member(object, "minor"), member(object, "patch")};
}

ServerVersion parseServerVersion(std::string_view text) {
    ServerVersion result{parseVersion(text), {}};
    const auto object = nlohmann::json::parse(text, nullptr, false);
    if (!object.is_object())
        return result;
    if (const auto found = object.find("sha256"); found != object.end())
        result.sha256 = found->is_string() ? found->get<std::string>() : std::string();
    return result;
}

ServerVersion fetchServerVersion(CURL* curl, const std::string& url) {
    if (!downloadToFile(curl, url, versionFile, false)) {
        log(fmt::format("downloading \"{}\" failed", url));
        removeQuietly(versionFile);
        return {};
    }
    std::string text;
    const int error = platform::readFile(versionFile, text, longestVersionFile);
    removeQuietly(versionFile);
    std::string_view line = std::string_view(text).substr(0, text.find('\n'));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    try {
        if (error == 0)
            return parseServerVersion(line);
        log(fmt::format("{} is no version: {}", url, platform::errorText(error)));
    } catch (const std::out_of_range& e) {
        log(fmt::format("\"{}\" of {} is no version: {}", kes::quoted(line), url, e.what()));
    }
    return {};
}

Version fetchVersion(CURL* curl, const std::string& url) {
    return fetchServerVersion(curl, url).version;
}

} // namespace kes
