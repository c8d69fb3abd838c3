#include "platform/zip.h"

#include "platform/system.h"

#include <cstdlib>
#include <ostream>
#include <utility>
#include <zip.h>

namespace kes::platform {

struct ZipArchive::State {
    std::filesystem::path path;
    zip_t* zip = nullptr;
};

namespace {

/// A date that every zip can hold; the true one would make the same content differ from day to day.
constexpr zip_uint16_t fixedDosTime = 0, fixedDosDate = (2025 - 1980) << 9 | 1 << 5 | 1;

} // namespace

int ZipEntry::readContent(std::ostream& out, std::size_t chunk) const {
    zip_file_t* const file = archive && archive->state->zip ? zip_fopen_index(archive->state->zip, index, 0) : nullptr;
    if (!file) {
        const int error =
            archive && archive->state->zip ? zip_error_code_zip(zip_get_error(archive->state->zip)) : ZIP_ER_INVAL;
        return error != 0 ? error : ZIP_ER_OPEN;
    }
    std::string piece(chunk, '\0');
    std::uint64_t total = 0;
    int error = 0;
    while (error == 0) {
        const zip_int64_t got = zip_fread(file, piece.data(), piece.size());
        if (got == 0)
            break;
        if (got < 0) {
            error = zip_error_code_zip(zip_file_get_error(file));
            error = error != 0 ? error : ZIP_ER_READ;
        } else if ((total += static_cast<std::uint64_t>(got)) > size) {
            error = ZIP_ER_INCONS; // a zip that lies about its sizes must not fill the disk
        } else if (!out.write(piece.data(), got)) {
            error = -1;
        }
    }
    // The checksum is compared with the last bytes; a late complaint comes from the close.
    const int closed = zip_fclose(file);
    if (error == 0 && closed == 0 && total != size)
        error = ZIP_ER_INCONS;
    return error != 0 ? error : closed;
}

std::string ZipEntry::readAsText(bool* good) const {
    std::string text;
    bool complete = false;
    zip_file_t* const file = archive && archive->state->zip ? zip_fopen_index(archive->state->zip, index, 0) : nullptr;
    if (file) {
        constexpr std::size_t piece = 524288;
        complete = true;
        while (true) {
            const std::size_t before = text.size();
            text.resize(before + piece);
            const zip_int64_t got = zip_fread(file, text.data() + before, piece);
            text.resize(before + static_cast<std::size_t>(got > 0 ? got : 0));
            if (got <= 0) {
                complete = got == 0 && text.size() == size;
                break;
            }
            if (text.size() > size) { // a zip that lies about its sizes must not fill the memory
                complete = false;
                break;
            }
        }
        complete = zip_fclose(file) == 0 && complete;
    }
    if (good)
        *good = complete;
    return text;
}

ZipArchive::ZipArchive(std::filesystem::path path) : state(std::make_unique<State>()) {
    state->path = std::move(path);
}

ZipArchive::~ZipArchive() {
    close();
}

bool ZipArchive::open(OpenMode mode) {
    close();
    int error = 0;
    state->zip = zip_open(pathText(state->path).c_str(),
                          mode == OpenMode::create ? ZIP_CREATE | ZIP_TRUNCATE : ZIP_RDONLY, &error);
    return state->zip != nullptr;
}

std::vector<ZipEntry> ZipArchive::getEntries() {
    std::vector<ZipEntry> entries;
    const zip_int64_t count = state->zip ? zip_get_num_entries(state->zip, 0) : 0;
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t status;
        zip_stat_init(&status);
        if (zip_stat_index(state->zip, static_cast<zip_uint64_t>(i), 0, &status) != 0 || !status.name)
            continue;
        ZipEntry& entry = entries.emplace_back();
        entry.archive = this;
        entry.name = status.name;
        entry.size = status.size;
        entry.index = static_cast<std::uint64_t>(i);
    }
    return entries;
}

bool ZipArchive::addData(std::string_view name, std::string content) {
    if (!state->zip)
        return false;
    // The library reads the bytes when it closes the archive, and frees them then, but for none at all.
    void* const bytes = content.empty() ? nullptr : std::malloc(content.size());
    if (!bytes && !content.empty())
        return false;
    content.copy(static_cast<char*>(bytes), content.size());
    zip_source_t* const source = zip_source_buffer(state->zip, bytes, content.size(), 1);
    if (!source) {
        std::free(bytes);
        return false;
    }
    const zip_int64_t index = zip_file_add(state->zip, std::string(name).c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        return false;
    }
    return zip_file_set_dostime(state->zip, static_cast<zip_uint64_t>(index), fixedDosTime, fixedDosDate, 0) == 0;
}

bool ZipArchive::close() {
    zip_t* const zip = std::exchange(state->zip, nullptr);
    if (!zip)
        return true;
    if (zip_close(zip) == 0)
        return true;
    zip_discard(zip);
    return false;
}

} // namespace kes::platform
