#include "platform/file.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#ifdef _WIN32
#include "platform/system.h"

#include <cstdio>
#include <filesystem>
#else
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace kes::platform {

namespace {
constexpr std::size_t firstPiece = 65536; ///< most configuration files are smaller
}

#ifdef _WIN32

int readFile(const std::string& path, std::string& content) {
    content.clear();
    std::FILE* file = _wfopen(pathFrom(path).c_str(), L"rb");
    if (!file)
        return errno;
    std::size_t size = 0;
    while (true) {
        if (content.size() - size < firstPiece)
            content.resize(content.size() < firstPiece ? firstPiece : content.size() * 2);
        const std::size_t got = std::fread(content.data() + size, 1, content.size() - size, file);
        if (got == 0)
            break;
        size += got;
    }
    const int error = std::ferror(file) ? EIO : 0;
    std::fclose(file);
    content.resize(error ? 0 : size);
    return error;
}

Folder::~Folder() = default;

int Folder::open(const std::string& path) {
    path_ = path;
    std::error_code error;
    std::filesystem::directory_iterator probe(pathFrom(path), error);
    return error ? error.default_error_condition().value() : 0;
}

int Folder::list(std::vector<FolderEntry>& entries) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::directory_iterator walk(pathFrom(path_), error), end; !error && walk != end; walk.increment(error)) {
        std::error_code ignored;
        entries.push_back({pathText(walk->path().filename()), walk->is_directory(ignored),
                           walk->is_regular_file(ignored), walk->is_symlink(ignored)});
    }
    return error ? error.default_error_condition().value() : 0;
}

int Folder::read(const std::string& name, std::string& content) const {
    return readFile(path_ + '\\' + name, content);
}

#else

namespace {

/// Reads and closes an open file.
int readAll(int file, std::string& content) {
    struct stat status {};
    int error = ::fstat(file, &status) == 0 ? 0 : errno;
    if (!error && S_ISDIR(status.st_mode))
        error = EISDIR;
    // Where the size is known, one call reads all and no further one is needed to see the end. Files of the system and
    // pipes tell none, and are read piece by piece.
    const auto known = static_cast<std::size_t>(status.st_size > 0 ? status.st_size : 0);
    std::size_t size = 0;
    while (!error && (known == 0 || size < known)) {
        content.resize(known != 0 ? known : size + firstPiece);
        const ssize_t got = ::read(file, content.data() + size, content.size() - size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            error = errno;
        if (got <= 0)
            break;
        size += static_cast<std::size_t>(got);
    }
    ::close(file);
    content.resize(error ? 0 : size);
    return error;
}

int readAt(int folder, const char* path, std::string& content) {
    content.clear();
    const int file = ::openat(folder, path, O_RDONLY | O_CLOEXEC);
    return file < 0 ? errno : readAll(file, content);
}

} // namespace

int readFile(const std::string& path, std::string& content) {
    return readAt(AT_FDCWD, path.c_str(), content);
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

int Folder::read(const std::string& name, std::string& content) const {
    return readAt(handle_ ? ::dirfd(static_cast<DIR*>(handle_)) : AT_FDCWD, name.c_str(), content);
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

#endif

std::string errorText(int error) {
    return std::generic_category().message(error);
}

} // namespace kes::platform
