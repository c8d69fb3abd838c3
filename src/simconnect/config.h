// SPDX-License-Identifier: MIT
// "SimConnect.cfg": where the simulator listens. INI text with ';' comments, sections [SimConnect] (index 0) or
// [SimConnect.N] with Protocol (Pipe, IPv4, IPv6, Auto), Address, Port, MaxReceiveSize, DisableNagle.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kes::simconnect {

/// The simulators have no port of their own: it is whatever their SimConnect.xml says. This one, used in most written
/// examples, is tried on this machine when no file names another, so that a user with one PC needs no file.
inline constexpr char defaultPort[] = "5111";

struct ConnectConfig {
    std::string protocol = "Auto";
    std::string address = "127.0.0.1";
    std::string port;                     ///< "1" to "65535"; empty = not told
    std::uint32_t maxReceiveSize = 41088; ///< bytes
    bool disableNagle = false;            ///< read for completeness: this client always sends without delay
    std::string file;                     ///< where this was read, for messages; empty = no file
    std::string notUnderstood;            ///< lines whose value makes no sense, which are passed over; empty = none
};

/// The section of an index; keys and section names without regard to case. Nothing when it is not there.
std::optional<ConnectConfig> parseConfig(std::string_view text, std::uint32_t index);
/// The file beside the program (current directory), else in the user's data folder; empty when there is none.
std::filesystem::path findConfigFile();
/// The section from the file that is found. Without any file index 0 is this machine and `defaultPort`, which is logged
/// once. Nothing for an index that does not exist. Any thread.
std::optional<ConnectConfig> loadConfig(std::uint32_t index);

/// Logs a text unless it was the last one logged here: opening is tried every second, and its reason is told once.
void logWhenNew(const std::string& text);

} // namespace kes::simconnect
