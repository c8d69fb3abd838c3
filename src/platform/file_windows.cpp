// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/file.h"
#include "platform/system.h"
#include "platform/system_os.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <windows.h>

namespace kes::platform {

namespace fs = std::filesystem;

namespace {

HANDLE handleOf(std::intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}

int lastError() {
    switch (::GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
        return EACCES;
    default:
        return EIO;
    }
}

} // namespace

int InputFile::open(const std::string& path) {
    close();
    const fs::path name = pathFrom(path);
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return EISDIR;
    const HANDLE file =
        ::CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return lastError();
    handle_ = reinterpret_cast<std::intptr_t>(file);
    // A pipe or a device, which the names of the system's devices are in every folder.
    int error = ::GetFileType(file) == FILE_TYPE_DISK ? 0 : notRegular;
    LARGE_INTEGER size{};
    if (error == 0 && !::GetFileSizeEx(file, &size))
        error = lastError();
    if (error != 0)
        close();
    size_ = error == 0 ? static_cast<std::uint64_t>(size.QuadPart) : 0;
    return error;
}

std::int64_t InputFile::read(void* bytes, std::size_t size) {
    DWORD got = 0;
    if (::ReadFile(handleOf(handle_), bytes, static_cast<DWORD>(std::min<std::size_t>(size, 1 << 30)), &got, nullptr))
        return got;
    errno = lastError();
    return -1;
}

bool InputFile::seek(std::uint64_t position) {
    LARGE_INTEGER target;
    target.QuadPart = static_cast<LONGLONG>(position);
    return ::SetFilePointerEx(handleOf(handle_), target, nullptr, FILE_BEGIN) != 0;
}

void InputFile::close() {
    if (handle_ != -1)
        ::CloseHandle(handleOf(handle_));
    handle_ = -1;
}

void Folder::close() {}

int Folder::open(const std::string& path) {
    path_ = path;
    std::error_code error;
    fs::directory_iterator probe(pathFrom(path), error);
    return error ? error.default_error_condition().value() : 0;
}

int Folder::openIn(const Folder& parent, const char* name) {
    return open(parent.path_ + '\\' + name);
}

int Folder::openFile(InputFile& file, const char* name, bool) const {
    return file.open(path_ + '\\' + name);
}

int Folder::list(FolderList& entries, const std::function<bool()>& stopWanted) {
    std::error_code error;
    std::size_t count = 0;
    for (fs::directory_iterator walk(pathFrom(path_), error), end; !error && walk != end; walk.increment(error)) {
        std::error_code ignored;
        FolderList::Entry entry;
        entry.isFolder = walk->is_directory(ignored);
        entry.isFile = walk->is_regular_file(ignored);
        entry.isLink = isLink(walk->path());
        entries.add(pathText(walk->path().filename()), entry);
        if (++count % 1024 == 0 && stopWanted && stopWanted())
            break;
    }
    return error ? error.default_error_condition().value() : 0;
}

bool isLink(const fs::path& path) {
    // Symbolic links and junctions alike, which not every standard library tells from folders.
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool exchangeFolders(const fs::path& fresh, const fs::path& target, std::string& error) {
    return exchangeInSteps(fresh, target, error);
}

} // namespace kes::platform

#endif
