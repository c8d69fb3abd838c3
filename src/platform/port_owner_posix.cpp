// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/port_owner.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>

namespace kes::platform {

namespace fs = std::filesystem;

namespace {

/// The sockets that hold a port, as the links in the processes' folders name them. A line of the table:
/// "0: 0100007F:29FB 00000000:0000 0A 00000000:00000000 00:00000000 00000000 0 0 12345 ...": local address and port in
/// hexadecimal digits, peer, state, three pairs, user, timeout, number of the socket.
void findSockets(const char* table, std::uint16_t port, PortKind kind, std::set<std::string>& sockets) {
    std::ifstream file(table);
    std::string line;
    std::getline(file, line); // the heads of the columns
    while (std::getline(file, line)) {
        std::istringstream columns(line);
        std::string number, local, peer, state, queues, timer, retries, user, timeout, socket;
        columns >> number >> local >> peer >> state >> queues >> timer >> retries >> user >> timeout >> socket;
        const std::size_t colon = local.rfind(':');
        unsigned found = 0;
        if (colon == std::string::npos)
            continue;
        std::from_chars(local.data() + colon + 1, local.data() + local.size(), found, 16);
        if (found == port && (kind == PortKind::udp || state == "0A")) // listening
            sockets.insert("socket:[" + socket + "]");
    }
}

} // namespace

std::string portOwner(std::uint16_t port, PortKind kind) {
    std::set<std::string> sockets;
    const bool tcp = kind == PortKind::tcp;
    findSockets(tcp ? "/proc/net/tcp" : "/proc/net/udp", port, kind, sockets);
    findSockets(tcp ? "/proc/net/tcp6" : "/proc/net/udp6", port, kind, sockets);
    if (sockets.empty())
        return {};
    std::error_code ignored;
    for (const fs::directory_entry& process : fs::directory_iterator("/proc", ignored)) {
        const std::string id = process.path().filename();
        if (id.find_first_not_of("0123456789") != std::string::npos)
            continue;
        std::error_code denied; // another user's
        for (const fs::directory_entry& open : fs::directory_iterator(process.path() / "fd", denied)) {
            std::error_code gone;
            if (!sockets.contains(fs::read_symlink(open.path(), gone).string()))
                continue;
            std::ifstream file(process.path() / "comm");
            std::string name;
            std::getline(file, name);
            return name.append(" (process ").append(id).append(")");
        }
    }
    return {};
}

} // namespace kes::platform

#endif
