// SPDX-License-Identifier: MIT
// A small server on the loopback for downloads: each path has an answer, right or wrong in the way that a test wants.
#pragma once

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kes::test {

struct Answer {
    std::string body;
    int status = 200;
    std::string location = {}; ///< of a redirect
    std::size_t claimed = 0;   ///< length that the head tells; 0 = the true one
    std::size_t piece = 0;     ///< bytes at a time, `pauseMs` apart; 0 = all at once
    int pauseMs = 0;
    bool stalls = false; ///< says nothing more behind the first byte until the server ends
    bool tellsLength = true;
    std::string moreHead = {}; ///< lines of the head, each with its end
};

class HttpServer {
public:
    HttpServer() {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 16);
        socklen_t size = sizeof address;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~HttpServer() {
        ending_ = true;
        thread_.join();
        ::close(listener_);
    }
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::string base() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }
    void put(const std::string& path, Answer answer) {
        const std::lock_guard lock(mutex_);
        answers_["/" + path] = std::move(answer);
    }
    /// Paths that were asked for, in order, with the user agent behind a blank.
    std::vector<std::string> asked() const {
        const std::lock_guard lock(mutex_);
        return asked_;
    }

private:
    static bool ready(int socket) {
        pollfd wanted{socket, POLLIN, 0};
        return ::poll(&wanted, 1, 20) > 0;
    }
    static void send(int socket, std::string_view text) {
        while (!text.empty()) {
            const ssize_t sent = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return;
            text.remove_prefix(static_cast<std::size_t>(sent));
        }
    }
    void serve() {
        while (!ending_) {
            if (!ready(listener_))
                continue;
            const int client = ::accept(listener_, nullptr, nullptr);
            if (client >= 0) {
                answer(client);
                ::close(client);
            }
        }
    }
    void answer(int client) {
        std::string request;
        while (!ending_ && request.find("\r\n\r\n") == std::string::npos) {
            char bytes[2048];
            if (!ready(client))
                continue;
            const ssize_t got = ::recv(client, bytes, sizeof bytes, 0);
            if (got <= 0)
                return;
            request.append(bytes, static_cast<std::size_t>(got));
        }
        const std::size_t begin = request.find(' ') + 1;
        const std::string path = request.substr(begin, request.find(' ', begin) - begin);
        const std::size_t agent = request.find("User-Agent: ");
        Answer a{"", 404};
        {
            const std::lock_guard lock(mutex_);
            asked_.push_back(path + (agent == std::string::npos
                                         ? ""
                                         : " " + request.substr(agent + 12, request.find('\r', agent) - agent - 12)));
            if (const auto known = answers_.find(path); known != answers_.end())
                a = known->second;
        }
        const std::size_t length = a.claimed != 0 ? a.claimed : a.body.size();
        send(client, "HTTP/1.1 " + std::to_string(a.status) + " x\r\nConnection: close\r\n" + a.moreHead +
                         (a.tellsLength ? "Content-Length: " + std::to_string(length) + "\r\n" : "") +
                         (a.location.empty() ? "" : "Location: " + a.location + "\r\n") + "\r\n");
        if (a.stalls) {
            send(client, a.body.substr(0, 1));
            while (!ending_ && !ready(client)) // until the client gives up
                ;
            return;
        }
        const std::size_t piece = a.piece != 0 ? a.piece : std::max<std::size_t>(1, a.body.size());
        for (std::size_t at = 0; at < a.body.size() && !ending_; at += piece) {
            send(client, std::string_view(a.body).substr(at, piece));
            if (a.pauseMs != 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(a.pauseMs)); // the slowness is the test
        }
    }

    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<bool> ending_{false};
    mutable std::mutex mutex_;
    std::map<std::string, Answer> answers_; // guarded by mutex_
    std::vector<std::string> asked_;        // guarded by mutex_
    std::thread thread_;
};

} // namespace kes::test
