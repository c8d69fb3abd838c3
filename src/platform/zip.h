// SPDX-License-Identifier: MIT
// Zip files, as a thin layer over libzip. Errors come back as values, nothing throws but std::bad_alloc. One thread at
// a time uses an archive and its entries.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kes::platform {

class ZipArchive;

/// One entry of an open archive; valid until the archive is closed.
class ZipEntry {
public:
    const std::string& getName() const { return name; } ///< as stored, '/' between folders; a folder ends in '/'
    std::uint64_t getSize() const { return size; }      ///< bytes unpacked, as the zip claims; any other is damage
    /// The whole content. `good`, when given, tells whether every byte arrived and the checksum held.
    std::string readAsText(bool* good = nullptr) const;
    /// Streams the content in pieces of `chunk` bytes. 0 = done, else libzip's error number, -1 when `out` failed, or
    /// -2 when the archive was told to stop.
    int readContent(std::ostream& out, std::size_t chunk = 524288) const;

private:
    friend class ZipArchive;
    ZipArchive* archive = nullptr;
    std::string name;
    std::uint64_t size = 0, index = 0;
};

class ZipArchive {
public:
    enum class OpenMode { readOnly, create }; ///< create: a file of that name is replaced when the archive is closed
    /// `stop`, when given, is asked at every piece that is read; once it says true, opening and reading fail.
    explicit ZipArchive(std::filesystem::path path, bool (*stop)() = nullptr);
    ~ZipArchive(); ///< closes; what was added is then written
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    /// False = no zip, no such regular file, or a table of entries of more than `mostTableBytes`.
    bool open(OpenMode mode = OpenMode::readOnly);
    static constexpr std::uint64_t mostTableBytes = 16'000'000; ///< some 300,000 entries at most
    std::uint64_t countEntries() const;                         ///< 0 when it is not open
    std::vector<ZipEntry> getEntries();                         ///< in the order of the zip
    /// Adds an entry. The same entries in the same order give the same bytes: no clock goes in.
    bool addData(std::string_view name, std::string content);
    bool close(); ///< false = what was added could not be written

private:
    friend class ZipEntry;
    struct State;
    std::unique_ptr<State> state;
};

} // namespace kes::platform
