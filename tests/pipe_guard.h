// SPDX-License-Identifier: MIT
// A pipe in the place of a file. Who opens it for reading waits for a writer; the guard comes as one after some
// seconds, so that a test fails instead of hanging.
#pragma once

#include "support.h"

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>

namespace kes::test {

class PipeGuard {
public:
    explicit PipeGuard(std::filesystem::path path, int seconds = 5) : path_(std::move(path)) {
        EXPECT_EQ(::mkfifo(path_.c_str(), 0600), 0) << path_;
        thread_ = std::thread([this, seconds] {
            while (!waitFor([this] { return done_.load(); }, seconds * 1000)) {
                const int writer = ::open(path_.c_str(), O_WRONLY | O_NONBLOCK);
                if (writer >= 0) {
                    waited_ = true;
                    ::close(writer);
                }
                const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK); // somebody may wait to write
                if (reader >= 0)
                    ::close(reader);
            }
        });
    }
    ~PipeGuard() {
        done_ = true;
        thread_.join();
        EXPECT_FALSE(waited_) << "somebody waited for " << path_;
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    PipeGuard(const PipeGuard&) = delete;
    PipeGuard& operator=(const PipeGuard&) = delete;

private:
    std::filesystem::path path_;
    std::atomic<bool> done_{false}, waited_{false};
    std::thread thread_;
};

} // namespace kes::test
