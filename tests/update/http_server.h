// SPDX-License-Identifier: MIT
// A small server on the loopback for downloads: each path has an answer, right or wrong in the way that a test wants.
#pragma once

#include "platform/socket.h"
#include "support.h"

#include <atomic>
#include <map>
#include <mutex>

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
        const char* step = "";
        EXPECT_EQ(listener_.listenTcp("0", step, true), 0) << step;
        thread_ = std::thread([this] {
            for (platform::Socket client; listener_.accept(client, -1).bytes == 0; client = platform::Socket())
                answer(client);
        });
    }
    ~HttpServer() {
        ending_ = true;
        listener_.stop();
        thread_.join();
    }
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::string base() const { return "http://127.0.0.1:" + std::to_string(listener_.localPort()) + "/"; }
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
    /// Takes what comes, until the client or this one ends or `enough` is there.
    std::string read(platform::Socket& client, std::string_view enough) const {
        std::string text;
        char bytes[2048];
        while (!ending_ && text.find(enough) == std::string::npos) {
            const platform::IoResult got = client.receive(bytes, 20);
            if (got.bytes <= 0 && !got.timedOut)
                break;
            text.append(bytes, got.timedOut ? 0 : static_cast<std::size_t>(got.bytes));
        }
        return text;
    }
    void answer(platform::Socket& client) {
        const std::string request = read(client, "\r\n\r\n");
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
        client.sendAll("HTTP/1.1 " + std::to_string(a.status) + " x\r\nConnection: close\r\n" + a.moreHead +
                           (a.tellsLength ? "Content-Length: " + std::to_string(length) + "\r\n" : "") +
                           (a.location.empty() ? "" : "Location: " + a.location + "\r\n") + "\r\n",
                       5000);
        if (a.stalls) {
            client.sendAll(a.body.substr(0, 1), 5000);
            read(client, "never sent");
            return;
        }
        const std::size_t piece = a.piece != 0 ? a.piece : std::max<std::size_t>(1, a.body.size());
        for (std::size_t at = 0; at < a.body.size() && !ending_; at += piece) {
            client.sendAll(std::string_view(a.body).substr(at, piece), 5000);
            if (a.pauseMs != 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(a.pauseMs)); // the slowness is the test
        }
    }

    platform::Socket listener_;
    std::atomic<bool> ending_{false};
    mutable std::mutex mutex_;
    std::map<std::string, Answer> answers_; // guarded by mutex_
    std::vector<std::string> asked_;        // guarded by mutex_
    std::thread thread_;
};

} // namespace kes::test
