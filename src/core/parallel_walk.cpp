// SPDX-License-Identifier: MIT
#include "core/parallel_walk.h"

#include "core/walk_stream.h"
#include "platform/system.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace kes {

namespace walk {

namespace {

namespace fs = std::filesystem;

constexpr char separator = static_cast<char>(fs::path::preferred_separator);
constexpr std::size_t batchSize = 16;        ///< results that are handed over together
constexpr std::size_t batchesKept = 256;     ///< free ones
constexpr std::size_t mostTaken = 16;        ///< entries that a thread takes of a shared folder at once
constexpr std::size_t mostOpenFolders = 128; ///< the system gives a program a few hundred; beyond, paths have to do

constexpr std::size_t usualPath = 1000; ///< bytes; a failure can be told by its path
constexpr const char* unknownCause = "unknown exception";

/// A folder and what the client wants of it, in order.
struct Listing {
    struct Chosen {
        std::string_view name; ///< in `list`
        bool isFolder = false, isFile = false, isLink = false, isPicked = false;
    };
    platform::Folder folder;
    platform::FolderList list;
    std::vector<Chosen> chosen;
    bool isOpen = false;
    bool isShared = false; ///< several threads may look at it: it does not change any more
};

/// Entries of a folder that are still to be walked.
struct Part {
    std::shared_ptr<Listing> listing; ///< null: the folder itself is still to be opened
    std::size_t next = 0, end = 0;    ///< in `chosen`
    std::size_t pathSize = 0;         ///< bytes of the folder's path, with its separator
};

/// A part that waits for a thread.
struct Job {
    Part part;
    std::string path;
    std::size_t root = 0;
    Stream* stream = nullptr;
    Stream::iterator segment{};
};

/// What a thread needs. It goes through folders depth first and keeps those above open, so that each entry is found
/// without a walk along its path.
struct Worker {
    std::vector<Part> above; ///< the folders on the way to the present one, which is the last
    std::string path;
    std::vector<std::shared_ptr<Listing>> spare; ///< room
    std::unique_ptr<Batch> batch;
    std::size_t root = 0;
    Stream* stream = nullptr;
    Stream::iterator segment{};
    bool busy = false; ///< its segment is not done
};

class Walk {
public:
    Walk(const std::vector<std::string>& roots, const Hooks& hooks)
        : roots_(roots), hooks_(hooks), threadCount_(hooks.threads > 0 ? hooks.threads : hardwareThreads()),
          openEach_(std::max<std::size_t>(4, mostOpenFolders / threadCount_)), workers_(threadCount_) {}
    ~Walk() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        workDue_.notify_all();
        for (std::thread& thread : threads_)
            thread.join();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    WalkCount run() {
        for (Worker& worker : workers_)
            worker.path.reserve(usualPath);
        Stream& stream = addCursor();
        for (std::size_t root = 0; root < roots_.size(); ++root)
            stream.emplace_back().root = root;
        auto segment = stream.end();
        for (std::size_t root = roots_.size(); root-- > 0;)
            jobs_.push_back({{}, roots_[root], root, &stream, --segment}); // the last of the list is taken first
        queued_ = jobs_.size();
        startThreads();
        Worker& own = workers_.front();
        while (deliver()) {
            while (!own.above.empty() && !news_.load(std::memory_order_relaxed))
                step(own);
            if (own.above.empty() && !takeUp(own))
                awaitNews();
        }
        if (const std::size_t untold = untold_)
            hooks_.tell({WalkProblem::untold, false, 0, untold, {}, {}});
        count_.closedFolders = closedFolders_;
        return count_;
    }

private:
    void startThreads() {
        try {
            // The caller's thread works, too.
            for (unsigned i = 1; i < threadCount_; ++i)
                threads_.emplace_back([this, i] { work(workers_[i]); });
        } catch (const std::exception& e) {
            hooks_.tell({WalkProblem::fewerThreads, false, 0, threads_.size() + 1, {}, e.what()});
        }
    }

    bool stopping() const { return ending_ || hooks_.stopWanted(); }

    // ---- what each thread does

    void work(Worker& own) {
        platform::nameThread(hooks_.threadName);
        while (!ending_) {
            if (takeUp(own)) {
                while (!own.above.empty())
                    step(own);
                continue;
            }
            std::unique_lock lock(mutex_);
            workDue_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
        }
    }

    /// Ends the last part and takes the next one. False when none waits.
    bool takeUp(Worker& own) {
        Part part;
        {
            const std::lock_guard lock(mutex_);
            if (own.busy)
                finish(own);
            if (jobs_.empty())
                return false;
            try {
                part = takePart(own);
            } catch (const std::exception&) {
                ++untold_;
                finish(own);
                jobs_.pop_back();
                part = {};
            }
            queued_.store(jobs_.size(), std::memory_order_relaxed);
            if (!jobs_.empty())
                wakeOneMore(); // who was woken for a job may take a part of it only
        }
        if (!own.busy)
            return true;
        try {
            if (part.listing)
                own.above.push_back(std::move(part));
            else
                enter(own, nullptr, {});
        } catch (const std::exception& e) {
            addProblem(own, WalkProblem::failed, true, 0, e.what());
        }
        return true;
    }

    /// The first entries of the last job; what is left of it goes on waiting. The lock is held.
    Part takePart(Worker& own) {
        Job& job = jobs_.back();
        own.stream = job.stream;
        own.segment = job.segment;
        own.root = job.root;
        own.busy = true;
        own.path = job.path;
        Part part = job.part;
        const std::size_t all = part.end - part.next;
        // Few at once, so that what is found first is near the begin and can be handed over soon.
        const std::size_t few = std::clamp<std::size_t>(all / (32 * threadCount_), 1, mostTaken);
        if (few < all) {
            job.segment = own.stream->insert(std::next(own.segment), Segment{own.root});
            part.end = job.part.next += few;
        } else {
            jobs_.pop_back();
        }
        return part;
    }

    /// For a job that waits. The lock is held.
    void wakeOneMore() {
        workDue_.notify_one();
        if (callerWaits_)
            callerDue_.notify_one();
    }

    /// The lock is held.
    void finish(Worker& own) {
        if (own.batch)
            own.segment->ready.push(std::move(own.batch));
        own.segment->done = true;
        own.busy = false;
        tellNews();
    }
    void tellNews() {
        news_.store(true, std::memory_order_relaxed);
        if (callerWaits_)
            callerDue_.notify_one();
    }

    /// One entry of the present folder, or the way out of it. Nothing may leave a thread: that would end the process.
    void step(Worker& own) {
        if (stopping()) {
            own.above.clear();
            return;
        }
        if (queued_.load(std::memory_order_relaxed) == 0 && threadCount_ > 1)
            share(own);
        Part& here = own.above.back();
        if (here.next == here.end) {
            recycle(own, std::move(here.listing));
            own.above.pop_back();
            return;
        }
        const Listing::Chosen entry = here.listing->chosen[here.next++];
        own.path.resize(here.pathSize);
        try {
            own.path += entry.name;
            if (entry.isPicked)
                pick(own, *here.listing, entry);
            else if (entry.isLink)
                room(own).marks.push_back({own.batch->used, true, {WalkProblem::failed, true, 0, 0, own.path, {}}});
            else
                enter(own, here.listing->isOpen ? &here.listing->folder : nullptr, entry.name);
        } catch (const std::exception& e) {
            addProblem(own, WalkProblem::failed, entry.isFolder, 0, e.what());
        } catch (...) {
            addProblem(own, WalkProblem::failed, entry.isFolder, 0, unknownCause);
        }
    }

    /// Gives away what is left of the highest folder, the last of what this thread would come to.
    void share(Worker& own) {
        for (Part& part : own.above) {
            const std::size_t kept = &part == &own.above.back() ? 1 : 0;
            if (part.end - part.next <= kept)
                continue;
            try {
                Job job{part, own.path.substr(0, part.pathSize), own.root, own.stream, {}};
                job.part.next += kept;
                const std::lock_guard lock(mutex_);
                if (!jobs_.empty())
                    return;
                jobs_.reserve(1);
                job.segment = own.stream->insert(std::next(own.segment), Segment{own.root});
                if (!part.listing->isShared) // others may look at it
                    part.listing->isShared = true;
                part.end = job.part.next;
                jobs_.push_back(std::move(job));
                queued_.store(1, std::memory_order_relaxed);
                wakeOneMore();
            } catch (const std::exception&) { // it stays with this thread
            }
            return;
        }
    }

    /// Lists the folder `own.path`; `name` in `parent` where that is open.
    void enter(Worker& own, const platform::Folder* parent, std::string_view name) {
        if (own.spare.empty())
            own.spare.push_back(std::make_shared<Listing>());
        std::shared_ptr<Listing> listing = std::move(own.spare.back());
        own.spare.pop_back();
        int error = parent ? listing->folder.openIn(*parent, name.data()) : listing->folder.open(own.path);
        listing->isOpen = error == 0;
        if (error == 0)
            error = listing->folder.list(listing->list, hooks_.stopWanted);
        if (error != 0)
            addProblem(own, WalkProblem::unreadable, true, error, "");
        choose(own, *listing);
        if (listing->chosen.empty()) {
            recycle(own, std::move(listing));
            return;
        }
        if (own.above.size() >= openEach_) {
            listing->folder.close();
            listing->isOpen = false;
        }
        if (needsSeparator(own.path))
            own.path += separator;
        const std::size_t end = listing->chosen.size();
        own.above.push_back({std::move(listing), 0, end, own.path.size()});
    }

    static bool needsSeparator(const std::string& path) {
        return !path.empty() && path.back() != separator && path.back() != '/';
    }

    void choose(const Worker& own, Listing& listing) {
        WalkEntry entry;
        entry.folder = own.path;
        entry.root = own.root;
        const std::size_t folderSize = own.path.size() + (needsSeparator(own.path) ? 1 : 0);
        std::size_t closed = 0;
        for (const platform::FolderList::Entry& found : listing.list.entries()) {
            entry.name = listing.list.name(found);
            entry.pathSize = folderSize + entry.name.size();
            entry.isFolder = found.isFolder;
            entry.isFile = found.isFile;
            entry.isLink = found.isLink;
            const WalkStep wanted = hooks_.select(entry);
            if (wanted == WalkStep::pick || (wanted == WalkStep::enter && found.isFolder)) {
                listing.chosen.push_back(
                    {entry.name, found.isFolder, found.isFile, found.isLink, wanted == WalkStep::pick});
            } else {
                closed += found.isFolder ? 1 : 0;
            }
        }
        if (closed > 0)
            closedFolders_ += closed;
        if (listing.chosen.size() > 1) {
            std::sort(listing.chosen.begin(), listing.chosen.end(),
                      [](const auto& a, const auto& b) { return nameComesFirst(a.name, b.name); });
        }
    }

    void recycle(Worker& own, std::shared_ptr<Listing> listing) {
        if (listing->isShared || own.spare.size() >= openEach_)
            return;
        listing->folder.close();
        listing->list.clear();
        listing->chosen.clear();
        try {
            own.spare.push_back(std::move(listing));
        } catch (const std::exception&) { // then its room is not used again
        }
    }

    void pick(Worker& own, const Listing& listing, const Listing::Chosen& entry) {
        Batch& batch = room(own);
        if (batch.used == batch.results.size())
            batch.results.push_back(hooks_.make());
        hooks_.work({own.path, entry.name.data(), listing.isOpen ? &listing.folder : nullptr,
                     entry.isFile && !entry.isLink, own.root},
                    batch.results[batch.used].get());
        ++batch.used;
    }

    /// A batch that takes one more result or mark.
    Batch& room(Worker& own) {
        if (own.batch && own.batch->used < batchSize && own.batch->marks.size() < batchSize)
            return *own.batch;
        {
            const std::lock_guard lock(mutex_);
            if (own.batch) {
                own.segment->ready.push(std::move(own.batch));
                tellNews();
            }
            own.batch = free_.pop();
            freeCount_ -= own.batch ? 1 : 0;
        }
        if (!own.batch)
            own.batch = std::make_unique<Batch>();
        return *own.batch;
    }

    void addProblem(Worker& own, WalkProblem::Kind kind, bool isFolder, int error, const char* cause) {
        try {
            Batch& batch = room(own);
            batch.marks.push_back({batch.used, false, {kind, isFolder, error, 0, own.path, cause}});
        } catch (const std::exception&) {
            ++untold_;
        }
    }

    // ---- what the caller's thread does

    /// How far a stream was handed over.
    struct Cursor {
        std::unique_ptr<Stream> stream;
        std::unique_ptr<Batch> batch{}; ///< the present one
        std::size_t result = 0, mark = 0;
    };

    Stream& addCursor() {
        cursors_.push_back({std::make_unique<Stream>()});
        return *cursors_.back().stream;
    }

    void awaitNews() {
        std::unique_lock lock(mutex_);
        callerWaits_ = true;
        callerDue_.wait(lock, [this] { return news_ || !jobs_.empty(); });
        callerWaits_ = false;
    }

    /// Hands over what is ready. False when all was.
    bool deliver() {
        std::unique_lock lock(mutex_);
        news_ = false;
        while (!cursors_.empty()) {
            Cursor& cursor = cursors_.back();
            if (!cursor.batch) {
                Stream& stream = *cursor.stream;
                if (stream.empty()) {
                    cursors_.pop_back();
                    continue;
                }
                if (root_ != stream.front().root)
                    entered_.clear();
                root_ = stream.front().root;
                cursor.batch = stream.front().ready.pop();
                cursor.result = cursor.mark = 0;
                if (!cursor.batch && !stream.front().done)
                    return true;
                if (!cursor.batch)
                    stream.pop_front();
                continue;
            }
            lock.unlock();
            const bool whole = handOver(cursor);
            lock.lock();
            if (whole)
                giveBack(std::move(cursor.batch));
        }
        return false;
    }

    void giveBack(std::unique_ptr<Batch> batch) {
        batch->used = 0;
        batch->marks.clear();
        if (freeCount_ < batchesKept) {
            free_.pushFirst(std::move(batch)); // the next one taken, while it is near
            ++freeCount_;
        }
    }

    /// False when a linked folder has to be walked before the rest; the cursor is no valid reference then.
    bool handOver(Cursor& cursor) {
        Batch& batch = *cursor.batch;
        while (cursor.mark < batch.marks.size() || cursor.result < batch.used) {
            if (cursor.mark < batch.marks.size() && batch.marks[cursor.mark].before <= cursor.result) {
                const Batch::Mark& mark = batch.marks[cursor.mark++];
                if (!mark.isLink) {
                    hooks_.tell(mark.problem);
                } else if (!stopping() && mayEnterLink(mark.problem.path)) {
                    walkLink(mark.problem.path);
                    return false;
                }
                continue;
            }
            if (!stopping()) {
                ++count_.picked;
                hooks_.take(batch.results[cursor.result].get());
            }
            ++cursor.result;
        }
        return true;
    }

    void walkLink(const std::string& path) {
        Stream& stream = addCursor();
        stream.emplace_back().root = root_;
        Job job{{}, path, root_, &stream, stream.begin()};
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
        queued_.store(jobs_.size(), std::memory_order_relaxed);
        workDue_.notify_one();
    }

    /// False for a linked folder that was entered before, and for one that holds the link.
    bool mayEnterLink(const std::string& path) {
        std::error_code error;
        if (entered_.empty())
            entered_.insert(fs::canonical(platform::pathFrom(roots_[root_]), error));
        const fs::path real = fs::canonical(platform::pathFrom(path), error);
        if (error)
            return false;
        const fs::path parent = fs::canonical(platform::pathFrom(path).parent_path(), error);
        const auto [end, ignored] = std::mismatch(real.begin(), real.end(), parent.begin(), parent.end());
        const bool holdsLink = !error && end == real.end();
        return !holdsLink && entered_.insert(real).second;
    }

    const std::vector<std::string>& roots_;
    const Hooks& hooks_;
    const unsigned threadCount_;
    const std::size_t openEach_;  ///< folders that a thread holds open
    std::vector<Worker> workers_; ///< the first one is the caller's; they outlive the threads
    std::atomic<std::size_t> closedFolders_ = 0, untold_ = 0;
    std::atomic<bool> ending_ = false;

    // Caller's thread
    std::vector<Cursor> cursors_; ///< the last one is in a linked folder that stands in the one before
    WalkCount count_;
    std::size_t root_ = 0;
    std::set<fs::path> entered_; ///< real paths of the root and of linked folders

    std::mutex mutex_; ///< guards all below, and the streams
    std::condition_variable workDue_, callerDue_;
    std::vector<Job> jobs_;
    std::atomic<std::size_t> queued_ = 0; ///< `jobs_`, for a look without the lock
    std::atomic<bool> news_ = false;      ///< something may be ready, for a look without the lock
    bool callerWaits_ = false;
    BatchQueue free_;
    std::size_t freeCount_ = 0;
    std::vector<std::thread> threads_; // caller's thread
};

} // namespace

WalkCount run(const std::vector<std::string>& roots, const Hooks& hooks) {
    return Walk(roots, hooks).run();
}

} // namespace walk

namespace {

constexpr unsigned char upperCase(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
}

} // namespace

bool nameComesFirst(std::string_view a, std::string_view b) {
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                                          [](char x, char y) { return x == y || upperCase(x) == upperCase(y); });
    if (inA == a.end() && inB == b.end())
        return a < b;
    if (inA == a.end() || inB == b.end())
        return inA == a.end();
    return upperCase(*inA) < upperCase(*inB);
}

unsigned hardwareThreads() {
    static const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
    return threads;
}

} // namespace kes
