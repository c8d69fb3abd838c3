// SPDX-License-Identifier: MIT
#include "feed/recorder.h"

#include "core/log.h"
#include "platform/system.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fmt/format.h>
#include <mutex>
#include <thread>
#include <utility>
#include <zlib.h>

namespace kes {

namespace {

constexpr std::size_t mostWaiting = 8 << 20; ///< bytes
constexpr auto readableEvery = std::chrono::seconds(5);

class Recorder {
public:
    ~Recorder() { stop(); }

    bool start(const std::filesystem::path& path, std::string& reason) {
        stop();
        errno = 0;
        file_ = gzopen(path.c_str(), "wb");
        if (file_ == nullptr) {
            reason = errno == 0 ? "no memory" : std::strerror(errno);
            return false;
        }
        path_ = path;
        {
            // A datagram of the recording before may still be on its way in.
            const std::lock_guard lock(mutex_);
            waiting_.clear();
            lines_ = 0;
            lost_ = 0;
            stopping_ = false;
        }
        thread_ = std::thread([this] { writeAll(); });
        active_ = true;
        return true;
    }

    void stop() {
        active_ = false;
        if (!thread_.joinable())
            return;
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_one();
        thread_.join();
        const bool whole = gzclose(std::exchange(file_, nullptr)) == Z_OK && !failed_;
        std::size_t lines = 0, lost = 0;
        {
            const std::lock_guard lock(mutex_);
            lines = lines_;
            lost = lost_;
        }
        log(fmt::format("Recording {} {} with {} lines{}", platform::pathText(path_),
                        whole ? "finished" : "could not be written to the end", lines,
                        lost == 0 ? "" : fmt::format(", {} left out since the disk was too slow", lost)));
    }

    void take(std::string_view text) {
        if (!active_)
            return;
        while (text.ends_with('\n') || text.ends_with('\r'))
            text.remove_suffix(1);
        const std::lock_guard lock(mutex_);
        if (waiting_.size() + text.size() >= mostWaiting) {
            ++lost_;
            return;
        }
        waiting_.append(text).push_back('\n');
        ++lines_;
    }

    bool active() const { return active_; }

private:
    void writeAll() {
        platform::nameThread("Recorder");
        failed_ = false;
        std::string piece;
        for (bool last = false; !last;) {
            piece.clear();
            {
                std::unique_lock lock(mutex_);
                wake_.wait_for(lock, readableEvery, [this] { return stopping_; });
                last = stopping_;
                std::swap(piece, waiting_);
            }
            // A write that fails leaves the rest unwritten, but the flight goes on.
            if (!piece.empty() && !failed_)
                failed_ = gzwrite(file_, piece.data(), static_cast<unsigned>(piece.size())) == 0 ||
                          gzflush(file_, Z_SYNC_FLUSH) != Z_OK;
        }
    }

    std::atomic<bool> active_{false};
    std::mutex mutex_; ///< guards the four below
    std::string waiting_;
    std::size_t lines_ = 0, lost_ = 0;
    bool stopping_ = false;
    std::condition_variable wake_;
    std::filesystem::path path_;
    gzFile file_ = nullptr;
    bool failed_ = false; ///< of the thread; read once it has ended
    std::thread thread_;
};

Recorder recorder;

} // namespace

bool startRecording(const std::filesystem::path& file, std::string& reason) {
    return recorder.start(file, reason);
}

void stopRecording() {
    recorder.stop();
}

bool isRecording() {
    return recorder.active();
}

void recordDatagram(std::string_view text) {
    recorder.take(text);
}

} // namespace kes
