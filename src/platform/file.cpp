// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include "platform/system_os.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace kes::platform {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t firstPiece = 65536; ///< most configuration files are smaller

fs::path asideOf(const fs::path& target) {
    fs::path aside = target;
    aside += ".before-exchange"; // a name that nobody gives to a copy of his own
    return aside;
}

} // namespace

int os::readAll(InputFile& file, std::string& content, std::uint64_t most) {
    // Where the size is known, one call reads all and no further one is needed to see the end. Files of the system
    // tell none, and are read piece by piece.
    if (file.size() > most)
        return EFBIG;
    const auto known = static_cast<std::size_t>(file.size());
    std::size_t size = 0;
    while (known == 0 || size < known) {
        content.resize(known != 0 ? known : size + firstPiece);
        const std::int64_t got = file.read(content.data() + size, content.size() - size);
        if (got < 0) {
            content.clear();
            return errno != 0 ? errno : EIO;
        }
        if (got == 0)
            break;
        size += static_cast<std::size_t>(got);
        if (size > most) {
            content.clear();
            return EFBIG;
        }
    }
    content.resize(size);
    return 0;
}

int readFile(const std::string& path, std::string& content, std::uint64_t most) {
    content.clear();
    InputFile file;
    const int error = file.open(path);
    return error != 0 ? error : os::readAll(file, content, most);
}

void FileBytes::grow(std::size_t least) {
    const std::size_t capacity = std::max({firstPiece, 2 * capacity_, least});
    auto room = std::make_unique_for_overwrite<char[]>(before + capacity + behind);
    std::memset(room.get(), 0, before);
    std::copy_n(room_.get() + (room_ ? before : 0), size_, room.get() + before);
    room_ = std::move(room);
    capacity_ = capacity;
}

void FileBytes::end(std::size_t size) {
    size_ = size;
    if (room_)
        std::memset(room_.get() + before + size, 0, behind);
}

void FileBytes::assign(std::string_view bytes) {
    size_ = 0;
    if (bytes.size() > capacity_ || !room_)
        grow(bytes.size());
    std::copy_n(bytes.data(), bytes.size(), room_.get() + before);
    end(bytes.size());
}

int FileBytes::readAll(InputFile& file, std::uint64_t most) {
    // Only a reading of nothing tells the end: one of less than asked for may have met an error.
    for (std::int64_t got = 1; got > 0; size_ += static_cast<std::size_t>(got)) {
        if (size_ > most) {
            end(0);
            return EFBIG;
        }
        if (size_ == capacity_)
            grow(0);
        got = file.read(room_.get() + before + size_, capacity_ - size_);
        if (got < 0) {
            const int error = errno != 0 ? errno : EIO;
            end(0);
            return error;
        }
    }
    end(size_);
    return 0;
}

int readFile(const std::string& path, FileBytes& content, std::uint64_t most) {
    content.size_ = 0;
    InputFile file;
    const int error = file.open(path);
    return error != 0 ? error : content.readAll(file, most);
}

void FolderList::add(std::string_view name, Entry entry) {
    entry.nameAt = static_cast<std::uint32_t>(names_.size());
    entry.nameSize = static_cast<std::uint32_t>(name.size());
    names_.append(name).push_back('\0');
    entries_.push_back(entry);
}

void FolderList::clear() {
    entries_.clear();
    names_.clear();
}

int Folder::read(const char* name, bool isRegular, FileBytes& content, std::uint64_t most) const {
    content.size_ = 0;
    InputFile file;
    const int error = openFile(file, name, isRegular);
    return error != 0 ? error : content.readAll(file, most);
}

bool exchangeInSteps(const fs::path& fresh, const fs::path& target, std::string& error) {
    const fs::path aside = asideOf(target);
    std::error_code failed;
    fs::remove_all(aside, failed);
    const bool wasThere = fs::exists(fs::symlink_status(target, failed));
    if (wasThere)
        fs::rename(target, aside, failed);
    if (!failed || !wasThere) {
        failed.clear();
        fs::rename(fresh, target, failed);
        std::error_code ignored;
        if (wasThere) // what was there goes back, or takes the other's place
            fs::rename(aside, failed ? target : fresh, ignored);
    }
    if (failed)
        error = failed.message();
    return !failed;
}

void restoreFolder(const fs::path& target) {
    const fs::path aside = asideOf(target);
    std::error_code error;
    if (!fs::is_directory(aside, error))
        return;
    // The next start may have made an empty folder in its place already; one with content is the new one.
    if (!isLink(target) && fs::is_directory(target, error) && fs::is_empty(target, error))
        fs::remove(target, error);
    if (!fs::exists(fs::symlink_status(target, error)))
        fs::rename(aside, target, error);
    else
        fs::remove_all(aside, error);
}

std::string errorText(int error) {
    return error == notRegular ? "not a regular file" : std::generic_category().message(error);
}

} // namespace kes::platform
