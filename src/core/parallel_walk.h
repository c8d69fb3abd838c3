// SPDX-License-Identifier: MIT
// A walk over folders by as many threads as the machine has: the client picks entries and works on each, and is handed
// what it made of them in the order of the walk, which is the same on every file system and whatever thread is faster.
#pragma once

#include "platform/file.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// NTFS gives a folder's entries in this order: by name, without regard to case; names that differ in case only by
/// bytes.
bool nameComesFirst(std::string_view a, std::string_view b);

/// The machine's hardware concurrency, at least 1.
unsigned hardwareThreads();

/// What stands in a folder of the walk.
struct WalkEntry {
    std::string_view folder; ///< its path, which begins with the root's as that was given
    std::string_view name;
    std::size_t pathSize = 0; ///< bytes of the entry's own path
    std::size_t root = 0;     ///< number in the list of the roots
    bool isFolder = false;    ///< a folder, or a link to one
    bool isFile = false;      ///< a regular file, or a link to one
    bool isLink = false;
};
enum class WalkStep : std::uint8_t {
    pass,
    enter, ///< walks what stands in a folder; the same as `pass` for anything else
    pick   ///< works on the entry
};

struct PickedEntry {
    const std::string& path;
    const char* name;               ///< the last part of it
    const platform::Folder* folder; ///< the open folder that holds it; null: the path has to do
    bool isRegular = false;         ///< a regular file and no link
    std::size_t root = 0;           ///< number in the list of the roots
};

struct WalkProblem {
    enum Kind : std::uint8_t {
        unreadable,   ///< a folder, `error` tells why; what was read of it until then is walked
        failed,       ///< the work on an entry, or the entering of a folder, has thrown `cause`
        fewerThreads, ///< `count` threads walk, since `cause` kept more from starting
        untold        ///< `count` more problems, which not even found the memory to be kept
    };
    Kind kind = unreadable;
    bool isFolder = false; ///< of `path`
    int error = 0;         ///< for `platform::errorText`
    std::size_t count = 0;
    std::string path, cause;
};

struct WalkCount {
    std::size_t picked = 0;        ///< entries whose result was handed over
    std::size_t closedFolders = 0; ///< folders, and links to such, that were not to be entered
};

/// The client, all of it needed. `select`, `work` and `stopWanted` are called on several threads at once, the others on
/// the caller's. `work` fills a result that may have served another entry before, so that its room is used again. What
/// it throws costs the entry, and is told. `stopWanted` is asked between any two entries; a long piece of work asks by
/// itself.
template <class Result> struct WalkClient {
    std::function<WalkStep(const WalkEntry&)> select;
    std::function<void(const PickedEntry&, Result&)> work;
    std::function<void(Result&)> take;
    std::function<void(const WalkProblem&)> tell;
    std::function<bool()> stopWanted;
    const char* threadName = "walk"; ///< at most 15 characters
    unsigned threads = 0;            ///< with the caller's own; 0 = as many as the hardware has
};

namespace walk {

/// The client without the type of its results.
struct Hooks {
    std::function<WalkStep(const WalkEntry&)> select;
    std::function<std::shared_ptr<void>()> make;
    std::function<void(const PickedEntry&, void*)> work;
    std::function<void(void*)> take;
    std::function<void(const WalkProblem&)> tell;
    std::function<bool()> stopWanted;
    const char* threadName = "";
    unsigned threads = 0;
};
WalkCount run(const std::vector<std::string>& roots, const Hooks& hooks);

} // namespace walk

/// Walks folders one after the other, entries by `nameComesFirst`, each folder where its name stands. The caller's
/// thread hands over and works with the others meanwhile. Once `stopWanted` is true nothing more is handed over, and
/// the walk ends as soon as the work on the present entries does. A linked folder is entered where the client wants
/// it, but not one that was entered before from the same root or that holds the link itself. What `take` and `tell`
/// throw ends the walk and reaches the caller. Paths are UTF-8.
template <class Result> WalkCount walkFolders(const std::vector<std::string>& roots, const WalkClient<Result>& client) {
    walk::Hooks hooks;
    hooks.select = client.select;
    hooks.make = [] { return std::static_pointer_cast<void>(std::make_shared<Result>()); };
    hooks.work = [&client](const PickedEntry& entry, void* result) {
        client.work(entry, *static_cast<Result*>(result));
    };
    hooks.take = [&client](void* result) { client.take(*static_cast<Result*>(result)); };
    hooks.tell = client.tell;
    hooks.stopWanted = client.stopWanted;
    hooks.threadName = client.threadName;
    hooks.threads = client.threads;
    return walk::run(roots, hooks);
}

} // namespace kes
