// Whole files and folders with as few system calls as they need. Paths are UTF-8. Any thread.
#pragma once

#include <string>
#include <vector>

namespace kes::platform {

/// Reads a file into `content`, whose room is kept between calls. 0 = done, else the error number of the C library;
/// `content` is then empty.
int readFile(const std::string& path, std::string& content);

struct FolderEntry {
    std::string name;
    bool isFolder = false; ///< a folder, or a link to one
    bool isFile = false;   ///< a regular file, or a link to one
    bool isLink = false;
};

/// An open folder, so that files in it are found without walking their path again. Closed at the end.
class Folder {
public:
    Folder() = default;
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    int open(const std::string& path); ///< 0 = done, else an error number of the C library
    /// Appends the entries in the order of the file system, without "." and "..". 0 = done, else an error number; what
    /// was read until then is in `entries`.
    int list(std::vector<FolderEntry>& entries);
    /// `readFile` for a file in the folder.
    int read(const std::string& name, std::string& content) const;

private:
    std::string path_;
    void* handle_ = nullptr; ///< of the operating system
};

/// The C library's text for an error number.
std::string errorText(int error);

} // namespace kes::platform
