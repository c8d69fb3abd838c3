#ifndef _WIN32

#include "platform/file.h"
#include "platform/system_os.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace kes::platform {

int InputFile::open(const std::string& path) {
    return openIn(nullptr, path);
}

int InputFile::openIn(const void* folder, const std::string& path) {
    close();
    const int base = folder ? ::dirfd(static_cast<DIR*>(const_cast<void*>(folder))) : AT_FDCWD;
    // Without waiting: a pipe would be opened only when somebody writes to it.
    const int file = ::openat(base, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return errno == ENXIO ? notRegular : errno; // a socket cannot even be opened
    handle_ = file;
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

Folder::~Folder() {
    if (handle_)
        ::closedir(static_cast<DIR*>(handle_));
}

int Folder::open(const std::string& path) {
    path_ = path;
    handle_ = ::opendir(path.c_str());
    return handle_ ? 0 : errno;
}

int Folder::read(const std::string& name, std::string& content, std::uint64_t most) const {
    content.clear();
    InputFile file;
    const int error = file.openIn(handle_, name);
    return error != 0 ? error : os::readAll(file, content, most);
}

int Folder::list(std::vector<FolderEntry>& entries) {
    DIR* const folder = static_cast<DIR*>(handle_);
    if (!folder)
        return EBADF;
    int error = 0;
    while (true) {
        errno = 0;
        const dirent* const found = ::readdir(folder);
        if (!found) {
            error = errno;
            break;
        }
        const std::string_view name = found->d_name;
        if (name == "." || name == "..")
            continue;
        FolderEntry& entry = entries.emplace_back();
        entry.name = name;
        entry.isFolder = found->d_type == DT_DIR;
        entry.isFile = found->d_type == DT_REG;
        entry.isLink = found->d_type == DT_LNK;
        if (found->d_type == DT_LNK || found->d_type == DT_UNKNOWN) {
            // Not every file system tells the kind with the name.
            struct stat status {};
            if (::fstatat(::dirfd(folder), found->d_name, &status, 0) == 0) {
                entry.isFolder = S_ISDIR(status.st_mode);
                entry.isFile = S_ISREG(status.st_mode);
            }
            if (found->d_type == DT_UNKNOWN &&
                ::fstatat(::dirfd(folder), found->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
                entry.isLink = S_ISLNK(status.st_mode);
        }
    }
    return error;
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
