// SPDX-License-Identifier: MIT
#include "world/source/control_client.h"

#include "core/geo.h"
#include "core/text.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <nlohmann/json.hpp>

namespace kes::source {

namespace {

constexpr std::size_t longestLine = 65536; // what is longer has lost its line ends

bool readNumber(std::string_view text, double& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() && std::isfinite(value);
}

} // namespace

bool readPosition(std::string_view text, ControlCounts& counts) {
    const auto fields = split(text, ';');
    std::array<double, 7> v{};
    if (fields.size() != v.size()) {
        return false;
    }
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (!readNumber(fields[i], v[i])) {
            return false;
        }
    }
    if (std::abs(v[5]) > pi / 2 || std::abs(v[6]) > pi) {
        return false;
    }
    counts.heading = v[2] * radToDeg;
    counts.altitude = v[3] / 1000.0;
    counts.groundSpeed = v[4] / 1000.0;
    counts.lat = v[5] * radToDeg;
    counts.lon = v[6] * radToDeg;
    return true;
}

bool countLine(std::string_view line, ControlCounts& counts) {
    if (line.starts_with("Qs121=")) {
        ++counts.positions;
        counts.badPositions += readPosition(line.substr(6), counts) ? 0 : 1;
    } else if (line.starts_with("Qs123=")) {
        ++counts.times;
        const std::string_view text = line.substr(6);
        std::int64_t ms = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), ms);
        if (error == std::errc{} && end == text.data() + text.size() && ms > 0) {
            counts.simTimeMs = ms;
        } else {
            ++counts.badTimes;
        }
    } else if (line == "Qs999=version") {
        ++counts.versions;
        return true;
    } else if (line == "exit") {
        ++counts.exits;
    } else {
        ++counts.others;
    }
    return false;
}

std::string versionReply(bool professional) {
    return nlohmann::json{{"level", professional ? 2 : 1}, {"version", "10.7.244"}}.dump();
}

ControlClient::~ControlClient() {
    stop();
}

void ControlClient::start(const std::string& host, std::uint16_t port, bool professional, int retryMs) {
    stop();
    host_ = host;
    port_ = std::to_string(port);
    professional_ = professional;
    retryMs_ = retryMs;
    stopping_ = false;
    thread_ = std::thread(&ControlClient::run, this);
}

void ControlClient::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        if (current_) {
            current_->stop();
        }
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void ControlClient::drop() {
    std::lock_guard lock(mutex_);
    dropping_ = true;
    if (current_) {
        current_->stop();
    }
}

void ControlClient::setEnabled(bool on) {
    {
        std::lock_guard lock(mutex_);
        enabled_ = on;
        if (!on && current_) {
            current_->stop();
        }
    }
    wake_.notify_all();
}

ControlCounts ControlClient::counts() const {
    std::lock_guard lock(mutex_);
    return counts_;
}

bool ControlClient::pause(int ms) {
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, std::chrono::milliseconds(ms), [&] { return stopping_; });
    wake_.wait(lock, [&] { return stopping_ || enabled_; });
    return !stopping_;
}

void ControlClient::run() {
    while (pause(0)) {
        bool toldToLeave = false;
        platform::Socket socket;
        {
            std::lock_guard lock(mutex_);
            if (stopping_) {
                break;
            }
            current_ = &socket;
        }
        if (socket.connectTcp(host_, port_, 2000) == 0) {
            bool go = false;
            {
                std::lock_guard lock(mutex_);
                // The server has seen this connection, even when the link was switched off meanwhile.
                ++counts_.connections;
                go = !stopping_ && enabled_;
                counts_.connected = go;
                dropping_ = false;
            }
            if (go) {
                socket.setNoDelay();
                toldToLeave = serve(socket);
            }
        }
        {
            std::lock_guard lock(mutex_);
            current_ = nullptr;
            counts_.connected = false;
        }
        socket.close();
        // A server that said "exit" may still hold its port for a moment; a longer pause keeps us out of its queue.
        if (!pause(toldToLeave ? 4 * retryMs_ : retryMs_)) {
            break;
        }
    }
}

bool ControlClient::serve(platform::Socket& socket) {
    std::array<char, 4096> buffer;
    std::string text;
    for (;;) {
        const platform::IoResult r = socket.receive(buffer, -1);
        if (r.stopped) {
            return false;
        }
        if (r.bytes <= 0) {
            std::lock_guard lock(mutex_);
            ++counts_.connectionsLost;
            return false;
        }
        text.append(buffer.data(), static_cast<std::size_t>(r.bytes));
        std::size_t end = 0;
        while ((end = text.find('\n')) != std::string::npos) {
            std::string line = text.substr(0, end);
            text.erase(0, end + 1);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            bool asked = false, leave = false;
            const bool told = line == "exit";
            {
                std::lock_guard lock(mutex_);
                asked = countLine(line, counts_);
                leave = told || dropping_ || stopping_ || !enabled_;
            }
            if (asked) {
                socket.sendAll(versionReply(professional_), 2000);
            }
            if (leave) {
                return told;
            }
        }
        if (text.size() > longestLine) {
            std::lock_guard lock(mutex_);
            ++counts_.others;
            text.clear();
        }
    }
}

} // namespace kes::source
