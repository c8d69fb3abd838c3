// SPDX-License-Identifier: MIT
// Whole files and folders with as few system calls as they need. Paths are UTF-8. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kes::platform {

/// The error number of something that is neither a file nor a folder: a pipe, a socket, a device. To read it could
/// wait for ever, or never come to an end.
inline constexpr int notRegular = -1;
inline constexpr std::uint64_t noLimit = std::numeric_limits<std::uint64_t>::max();

/// A regular file, open for reading. All files that the program reads are opened by this class, which never waits for
/// a file: what is no regular file is refused. Closed at the end.
class InputFile {
public:
    InputFile() = default;
    ~InputFile() { close(); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// 0 = done, else an error number of the C library, or `notRegular`.
    int open(const std::string& path);
    std::uint64_t size() const { return size_; } ///< bytes when it was opened; 0 for some files of the system
    /// Up to `size` bytes from where the last call ended. Their number, 0 at the end, negative after a failure.
    std::int64_t read(void* bytes, std::size_t size);
    bool seek(std::uint64_t position); ///< from the begin
    void close();                      ///< harmless when none is open

private:
    friend class Folder;
    /// Within a folder, which is a handle of the operating system. A file that is known to be regular is not asked, and
    /// its size stays unknown. Not on Windows.
    int openIn(std::intptr_t folder, const char* name, bool isRegular);
    std::intptr_t handle_ = -1; ///< of the operating system; -1 = none
    std::uint64_t size_ = 0;
};

/// The bytes of one file after the other. Their room is kept and never cleared, but zero bytes stand around them, so
/// that who looks at several at once need not stop short of the ends.
class FileBytes {
public:
    static constexpr std::size_t before = 16, behind = 96; ///< bytes of zero
    std::string_view view() const { return {room_ ? room_.get() + before : nullptr, size_}; }
    void assign(std::string_view bytes); ///< instead of a file's

private:
    friend int readFile(const std::string& path, FileBytes& content, std::uint64_t most);
    friend class Folder;
    int readAll(InputFile& file, std::uint64_t most);
    void grow(std::size_t least);
    void end(std::size_t size);
    std::unique_ptr<char[]> room_;
    std::size_t capacity_ = 0, size_ = 0;
};

/// Reads a file into `content`, whose room is kept between calls. 0 = done, else the error number of the C library or
/// `notRegular`; `content` is then empty. A file of more than `most` bytes gives EFBIG and is not read.
int readFile(const std::string& path, std::string& content, std::uint64_t most = noLimit);
int readFile(const std::string& path, FileBytes& content, std::uint64_t most = noLimit);

/// What stands in a folder, with all names in one block.
class FolderList {
public:
    struct Entry {
        std::uint32_t nameAt = 0, nameSize = 0;
        bool isFolder = false; ///< a folder, or a link to one
        bool isFile = false;   ///< a regular file, or a link to one
        bool isLink = false;
    };
    const std::vector<Entry>& entries() const { return entries_; }
    /// Valid until the list changes. A zero byte stands behind it.
    std::string_view name(const Entry& entry) const { return {names_.data() + entry.nameAt, entry.nameSize}; }
    void add(std::string_view name, Entry entry); ///< `entry` without its name
    void clear();                                 ///< the room is kept

private:
    std::vector<Entry> entries_;
    std::string names_;
};

/// An open folder, so that files in it are found without walking their path again. Closed at the end. Several threads
/// may open and read what is in it at once.
class Folder {
public:
    Folder() = default;
    ~Folder() { close(); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    int open(const std::string& path); ///< 0 = done, else an error number of the C library
    /// The same for a folder in an open one.
    int openIn(const Folder& parent, const char* name);
    void close();
    /// Appends the entries in the order of the file system, without "." and "..". 0 = done, else an error number; what
    /// was read until then is in `entries`. `stopWanted` is asked every some thousand entries and ends the list.
    int list(FolderList& entries, const std::function<bool()>& stopWanted = {});
    /// `readFile` for an entry of the folder. One that its list calls a regular file, and no link, is believed, so that
    /// it takes no call to ask for its kind; if it has changed since it is still never waited for, nor read beyond
    /// `most`.
    int read(const char* name, bool isRegular, FileBytes& content, std::uint64_t most = noLimit) const;

private:
    int openFile(InputFile& file, const char* name, bool isRegular) const;
    std::string path_;          ///< Windows
    std::intptr_t handle_ = -1; ///< of the operating system; -1 = none
};

/// True for a symbolic link and, on Windows, a junction; also when what it leads to is gone.
bool isLink(const std::filesystem::path& path);

/// Gives the folder `target` the content of the folder `fresh` and the other way round, in one step where the system
/// can; where there is no `target`, `fresh` becomes it. False with a reason on failure, both are then as before. Both
/// lie on one disk.
bool exchangeFolders(const std::filesystem::path& fresh, const std::filesystem::path& target, std::string& error);
/// The same with moves only, by way of a third name. A crash in the middle leaves no `target`, but what
/// `restoreFolder` puts back.
bool exchangeInSteps(const std::filesystem::path& fresh, const std::filesystem::path& target, std::string& error);
/// Brings `target` back after a crash in the middle of an exchange; does nothing otherwise.
void restoreFolder(const std::filesystem::path& target);

/// The text for an error number of this file's functions.
std::string errorText(int error);

} // namespace kes::platform
