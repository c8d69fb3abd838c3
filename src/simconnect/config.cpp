// SPDX-License-Identifier: MIT
#include "simconnect/config.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/system.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fstream>
#include <mutex>
#include <system_error>

namespace kes::simconnect {

namespace {

constexpr char fileName[] = "SimConnect.cfg";
constexpr std::streamsize maxFileBytes = 256 * 1024;

/// A whole text of digits as a number of 32 bits.
std::optional<std::uint32_t> wholeNumber(std::string_view text) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// The index that a section line stands for: "[SimConnect]" is 0, "[SimConnect.N]" is N.
std::optional<std::uint32_t> sectionIndex(std::string_view line) {
    constexpr std::string_view base = "SimConnect";
    if (line.size() < 2 || line.back() != ']')
        return std::nullopt;
    const std::string_view name = strip(line.substr(1, line.size() - 2));
    if (!equalsNoCase(name.substr(0, base.size()), base))
        return std::nullopt;
    if (name.size() == base.size())
        return 0;
    if (name[base.size()] != '.')
        return std::nullopt;
    return wholeNumber(name.substr(base.size() + 1));
}

/// A value that makes no sense leaves what stands there, so a slip of the pen costs one setting and not the connection.
/// False for one of those that tell where the simulator is.
bool takeKey(ConnectConfig& config, std::string_view key, std::string_view value) {
    if (equalsNoCase(key, "Protocol")) {
        for (const char* known : {"Pipe", "IPv4", "IPv6", "Auto"}) {
            if (equalsNoCase(value, known)) {
                config.protocol = known;
                return true;
            }
        }
        return value.empty();
    }
    if (equalsNoCase(key, "Port")) {
        const auto port = wholeNumber(value);
        if (!port || *port < 1 || *port > 65535)
            return value.empty();
        config.port = std::to_string(*port);
    } else if (equalsNoCase(key, "Address")) {
        if (!value.empty())
            config.address = value;
    } else if (equalsNoCase(key, "MaxReceiveSize")) {
        if (const auto size = wholeNumber(value); size && *size > 0)
            config.maxReceiveSize = *size;
    } else if (equalsNoCase(key, "DisableNagle")) {
        if (value == "1" || equalsNoCase(value, "true"))
            config.disableNagle = true;
        else if (value == "0" || equalsNoCase(value, "false"))
            config.disableNagle = false;
    }
    return true;
}

} // namespace

std::optional<ConnectConfig> parseConfig(std::string_view text, std::uint32_t index) {
    text = withoutMark(text);
    std::optional<ConnectConfig> found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = strip(text.substr(0, std::min(end, text.find(';'))));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty())
            continue;
        if (line.front() == '[') {
            // Of two sections with one name the first counts, as with the system's own reader of such files.
            if (found)
                break;
            if (sectionIndex(line) == index)
                found.emplace();
            continue;
        }
        const std::size_t equals = line.find('=');
        if (found && equals != std::string_view::npos &&
            !takeKey(*found, strip(line.substr(0, equals)), strip(line.substr(equals + 1))))
            found->notUnderstood += (found->notUnderstood.empty() ? "" : ", ") + std::string(line);
    }
    return found;
}

std::filesystem::path findConfigFile() {
    std::error_code error;
    std::filesystem::path beside = fileName;
    if (std::filesystem::is_regular_file(beside, error))
        return beside;
    const std::filesystem::path folder = userDataFolder();
    if (!folder.empty() && std::filesystem::is_regular_file(folder / fileName, error))
        return folder / fileName;
    return {};
}

std::optional<ConnectConfig> loadConfig(std::uint32_t index) {
    const std::filesystem::path path = findConfigFile();
    if (path.empty()) {
        if (index != 0)
            return std::nullopt;
        ConnectConfig standard;
        standard.port = defaultPort;
        logWhenNew(fmt::format("No {}, the simulator is looked for at {}:{}. On this PC its SimConnect.xml needs a "
                               "listener with protocol IPv4 and that port, see Manual 3",
                               fileName, standard.address, defaultPort));
        return standard;
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(maxFileBytes), '\0');
    file.read(text.data(), maxFileBytes);
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    std::optional<ConnectConfig> config = parseConfig(text, index);
    if (config && config->port.empty())
        config->port = defaultPort;
    if (config)
        config->file = platform::pathText(path);
    if (!config)
        logWhenNew(fmt::format("! {} has no section for index {}", fileName, index));
    return config;
}

void logWhenNew(const std::string& text) {
    static std::mutex lastMutex;
    static std::string last;
    {
        const std::lock_guard lock(lastMutex);
        if (text == last)
            return;
        last = text;
    }
    log(text);
}

} // namespace kes::simconnect
