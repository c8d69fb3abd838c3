// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/file.h"
#include "platform/system_os.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace kes::platform {

int InputFile::open(const std::string& path) {
    return openIn(AT_FDCWD, path.c_str(), false);
}

int InputFile::openIn(std::intptr_t folder, const char* name, bool isRegular) {
    close();
    size_ = 0;
    // Without waiting: a pipe would be opened only when somebody writes to it.
    const int file = ::openat(static_cast<int>(folder), name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return errno == ENXIO ? notRegular : errno; // a socket cannot even be opened
    handle_ = file;
    if (isRegular)
        return 0;
    struct stat status {};
    int error = ::fstat(file, &status) == 0 ? 0 : errno;
    if (error == 0 && !S_ISREG(status.st_mode))
        error = S_ISDIR(status.st_mode) ? EISDIR : notRegular;
    if (error != 0)
        close();
    size_ = error == 0 && status.st_size > 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
    return error;
}

std::int64_t InputFile::read(void* bytes, std::size_t size) {
    ssize_t got = -1;
    do {
        got = ::read(static_cast<int>(handle_), bytes, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

bool InputFile::seek(std::uint64_t position) {
    return ::lseek(static_cast<int>(handle_), static_cast<off_t>(position), SEEK_SET) >= 0;
}

void InputFile::close() {
    if (handle_ >= 0)
        ::close(static_cast<int>(handle_));
    handle_ = -1;
}

void Folder::close() {
    if (handle_ >= 0)
        ::close(static_cast<int>(handle_));
    handle_ = -1;
}

int Folder::open(const std::string& path) {
    close();
    handle_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return handle_ >= 0 ? 0 : errno;
}

int Folder::openIn(const Folder& parent, const char* name) {
    close();
    handle_ = ::openat(static_cast<int>(parent.handle_), name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return handle_ >= 0 ? 0 : errno;
}

int Folder::openFile(InputFile& file, const char* name, bool isRegular) const {
    return file.openIn(handle_, name, isRegular);
}

int Folder::list(FolderList& entries, const std::function<bool()>& stopWanted) {
    constexpr std::size_t room = 65536;
    thread_local const auto buffer = std::make_unique_for_overwrite<char[]>(room);
    const int folder = static_cast<int>(handle_);
    while (true) {
        const ssize_t got = ::getdents64(folder, buffer.get(), room);
        if (got <= 0)
            return got == 0 ? 0 : errno;
        for (ssize_t at = 0; at < got;) {
            const auto* const found = reinterpret_cast<const dirent64*>(buffer.get() + at);
            at += found->d_reclen;
            const std::string_view name = found->d_name;
            if (name == "." || name == "..")
                continue;
            FolderList::Entry entry;
            entry.isFolder = found->d_type == DT_DIR;
            entry.isFile = found->d_type == DT_REG;
            entry.isLink = found->d_type == DT_LNK;
            if (found->d_type == DT_LNK || found->d_type == DT_UNKNOWN) {
                // Not every file system tells the kind with the name.
                struct stat status {};
                if (::fstatat(folder, found->d_name, &status, 0) == 0) {
                    entry.isFolder = S_ISDIR(status.st_mode);
                    entry.isFile = S_ISREG(status.st_mode);
                }
                if (found->d_type == DT_UNKNOWN && ::fstatat(folder, found->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
                    entry.isLink = S_ISLNK(status.st_mode);
            }
            entries.add(name, entry);
        }
        if (stopWanted && stopWanted())
            return 0;
    }
}

bool isLink(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_symlink(std::filesystem::symlink_status(path, error));
}

bool exchangeFolders(const std::filesystem::path& fresh, const std::filesystem::path& target, std::string& error) {
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0)
        return true;
    // Some file systems know no exchange, and there may be nothing to exchange with.
    return exchangeInSteps(fresh, target, error);
}

} // namespace kes::platform

#endif
