#include "liveries/folder_walk.h"

#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr char separator = static_cast<char>(fs::path::preferred_separator);
constexpr std::size_t tooLong = 250; ///< bytes of a path that is not entered any more
/// Scenery and airports in hundreds of folders, and what the simulator leaves behind of converted packages.
constexpr std::array<std::string_view, 9> closedWords{"airport",   "lvfr",     "mkstudios", "simwings", "fsdreamteam",
                                                      "navigraph", "flytampa", "inibuilds", "_CVT_"};

constexpr unsigned char upperCase(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
}

bool holdsClosedWord(std::string_view text) {
    for (const std::string_view word : closedWords) {
        if (text.find(word) != std::string_view::npos)
            return true;
    }
    return false;
}

bool isCfgName(std::string_view name) {
    return equalsNoCase(name, "aircraft.cfg");
}

constexpr const char* outOfMemory = "out of memory";

/// A folder that stays open until the folders in it were opened, so that none is found by a walk along its path.
struct OpenFolder {
    explicit OpenFolder(std::atomic<int>& count) : openFolders(count) { ++openFolders; }
    ~OpenFolder() { --openFolders; }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;
    platform::Folder folder;
    std::atomic<int>& openFolders;
};
constexpr int mostOpenFolders = 128; ///< the system gives a program a few hundred; beyond, paths have to do

/// A folder of the walk, and what was found in it, in the order of names.
struct Node {
    struct Item {
        std::unique_ptr<CfgJudgement> file; ///< or a folder
        std::unique_ptr<Node> folder;
        bool isLink = false; ///< the folder is a link and nobody works on it yet
    };
    std::string path;
    std::size_t nameAt = 0;             ///< in `path`
    std::shared_ptr<OpenFolder> parent; ///< null: opened by its path
    std::vector<Item> items;
    std::size_t closedFolders = 0;
    std::size_t lost = 0;   ///< entries that failed outside the judgement of a file, for want of memory
    const char* fault = ""; ///< why the folder could not be read to its end, when its reading itself failed
    int error = 0;          ///< the folder could not be read to its end
    bool done = false;
};

std::string join(const std::string& path, const std::string& name) {
    std::string joined;
    joined.reserve(path.size() + 1 + name.size());
    joined = path;
    if (!joined.empty() && joined.back() != separator && joined.back() != '/')
        joined += separator;
    return joined += name;
}

/// Threads list folders and judge what is in them, whichever comes; the caller's thread goes through the tree in order
/// and hands over what is done, and works with them while it waits.
class Walk {
public:
    Walk(const CfgRules& rules, const std::function<void(CfgJudgement&)>& take) : rules_(rules), take_(take) {
        // The caller's thread helps while it waits, so it counts.
        try {
            for (unsigned i = 1; i < hardwareThreads(); ++i)
                threads_.emplace_back([this] { work(); });
        } catch (const std::exception& e) {
            log(fmt::format("liveries search with {} threads: {}", threads_.size() + 1, e.what()));
        }
    }
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

    WalkCount root(const std::string& path) {
        rootIsClosed_ = holdsClosedWord(path);
        mayEnterLink(path);
        root_.path = path;
        give(root_);
        go(root_);
        return count_;
    }

private:
    void give(Node& node) {
        {
            const std::lock_guard lock(mutex_);
            open_.push_back(&node);
        }
        workDue_.notify_one();
    }

    void go(Node& node) {
        waitFor(node);
        if (node.error != 0) {
            log(fmt::format("liveries search in folder {} aborted because of iterator problem: {}", node.path,
                            platform::errorText(node.error)));
        }
        if (*node.fault != '\0')
            log(fmt::format("liveries search in {} aborted, cause: {}", node.path, node.fault));
        if (node.lost > 0)
            log(fmt::format("{} of the entries of {} could not be searched", node.lost, node.path));
        count_.closedFolders += node.closedFolders;
        for (Node::Item& item : node.items) {
            if (item.file) {
                ++count_.files;
                if (!stopWanted())
                    take_(*item.file);
                item.file.reset();
            } else if (!item.isLink || mayEnterLink(item.folder->path)) {
                if (item.isLink)
                    give(*item.folder);
                go(*item.folder); // even when the run is to end: a thread may still be at work on it
                item.folder.reset();
            }
        }
    }

    void waitFor(const Node& node) {
        std::unique_lock lock(mutex_);
        while (!node.done) {
            if (!open_.empty()) {
                searchNext(lock);
                continue;
            }
            awaited_ = &node;
            nodeDone_.wait(lock, [&] { return node.done || !open_.empty(); });
            awaited_ = nullptr;
        }
    }

    void work() {
        platform::nameThread("liveries");
        std::unique_lock lock(mutex_);
        while (true) {
            workDue_.wait(lock, [this] { return ending_ || !open_.empty(); });
            if (ending_)
                return;
            searchNext(lock);
        }
    }

    /// Takes an open folder; the lock is held before and after.
    void searchNext(std::unique_lock<std::mutex>& lock) {
        Node& node = *open_.back();
        open_.pop_back();
        lock.unlock();
        // Nothing may leave a thread: that would end the process.
        try {
            if (!stopWanted())
                search(node);
        } catch (const std::exception&) {
            node.fault = outOfMemory;
        }
        lock.lock();
        const std::size_t before = open_.size();
        openFolders(node);
        node.done = true;
        if (awaited_ && (awaited_ == &node || open_.size() > before))
            nodeDone_.notify_one();
        if (open_.size() > before + 1)
            workDue_.notify_one();
    }

    /// Puts the folders of a searched one on the list; the lock is held.
    void openFolders(Node& node) {
        try {
            open_.reserve(open_.size() + node.items.size());
        } catch (const std::exception&) {
            node.fault = outOfMemory;
            for (Node::Item& item : node.items) {
                if (item.folder && !item.isLink)
                    item.folder->done = true; // nobody will come
            }
            return;
        }
        // The first folder is taken next, since its judgements are wanted first.
        for (auto item = node.items.rbegin(); item != node.items.rend(); ++item) {
            if (item->folder && !item->isLink)
                open_.push_back(item->folder.get());
        }
    }

    void search(Node& node) {
        const auto open = std::make_shared<OpenFolder>(openFolders_);
        std::vector<platform::FolderEntry> entries;
        node.error = node.parent ? open->folder.openIn(node.parent->folder, node.path.c_str() + node.nameAt)
                                 : open->folder.open(node.path);
        node.parent = nullptr;
        if (node.error == 0)
            node.error = open->folder.list(entries);
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return nameComesFirst(a.name, b.name); });
        for (const platform::FolderEntry& entry : entries) {
            if (stopWanted())
                return;
            try {
                take(node, open, entry);
            } catch (const std::exception&) {
                ++node.lost;
            }
        }
    }

    void take(Node& node, const std::shared_ptr<OpenFolder>& open, const platform::FolderEntry& entry) const {
        if (entry.isFolder) {
            std::string inner = join(node.path, entry.name);
            // The words hold no separator, so the folders above need no second look.
            if (rootIsClosed_ || inner.size() >= tooLong || holdsClosedWord(entry.name)) {
                ++node.closedFolders;
                return;
            }
            auto opened = std::make_unique<Node>();
            opened->path = std::move(inner);
            opened->nameAt = opened->path.size() - entry.name.size();
            if (!entry.isLink && openFolders_ <= mostOpenFolders)
                opened->parent = open;
            Node::Item& item = node.items.emplace_back();
            item.folder = std::move(opened);
            item.isLink = entry.isLink;
        } else if (entry.isFile && isCfgName(entry.name)) {
            auto judged = std::make_unique<CfgJudgement>(
                judgeFile(rules_, join(node.path, entry.name), {&open->folder, nullptr, &entry}));
            node.items.emplace_back().file = std::move(judged);
        }
    }

    /// False for a linked folder that was entered before, and for one that holds the link.
    bool mayEnterLink(const std::string& path) {
        std::error_code error;
        const fs::path real = fs::canonical(platform::pathFrom(path), error);
        if (error)
            return false;
        const fs::path parent = fs::canonical(platform::pathFrom(path).parent_path(), error);
        const auto [end, ignored] = std::mismatch(real.begin(), real.end(), parent.begin(), parent.end());
        const bool holdsLink = !error && end == real.end() && !entered_.empty();
        return !holdsLink && entered_.insert(real).second;
    }

    const CfgRules& rules_;
    const std::function<void(CfgJudgement&)>& take_;
    bool rootIsClosed_ = false;
    std::atomic<int> openFolders_ = 0;
    Node root_;                  // outlives the threads, whatever the caller's thread meets
    WalkCount count_;            // caller's thread
    std::set<fs::path> entered_; // caller's thread: real paths of the root and of linked folders
    std::mutex mutex_;
    std::condition_variable workDue_, nodeDone_;
    std::vector<Node*> open_;       // guarded by mutex_: folders that nobody works on, the next one last
    const Node* awaited_ = nullptr; // guarded by mutex_
    bool ending_ = false;           // guarded by mutex_
    std::vector<std::thread> threads_;
};

} // namespace

bool nameComesFirst(std::string_view a, std::string_view b) {
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                                          [](char x, char y) { return upperCase(x) == upperCase(y); });
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

WalkCount walkFolder(const CfgRules& rules, const std::string& root, const std::function<void(CfgJudgement&)>& take) {
    return Walk(rules, take).root(root);
}

} // namespace kes
