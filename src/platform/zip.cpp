// SPDX-License-Identifier: MIT
#include "platform/zip.h"

#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <utility>
#include <zip.h>

namespace kes::platform {

struct ZipArchive::State {
    std::filesystem::path path;
    bool (*stop)() = nullptr;
    zip_t* zip = nullptr;
    std::uint64_t tableBytes = 0; ///< read while opening
    bool opening = false;

    bool stopped() const { return stop && stop(); }
};

namespace {

/// A date that every zip can hold; the true one would make the same content differ from day to day.
constexpr zip_uint16_t fixedDosTime = 0, fixedDosDate = (2025 - 1980) << 9 | 1 << 5 | 1;

constexpr int writeFailed = -1, wasStopped = -2;

/// A file as the library's source, so that it is opened like all others, and that each of its bytes passes by here: a
/// table of millions of entries is read for minutes otherwise, deaf to everybody.
template <class State> class Source {
public:
    /// The source, which the archive then owns; null on failure.
    static zip_source_t* make(State& state, std::unique_ptr<InputFile> file) {
        auto source = std::make_unique<Source>(state, std::move(file));
        zip_source_t* const made = zip_source_function_create(&Source::call, source.get(), nullptr);
        if (made)
            (void)source.release(); // until the library says ZIP_SOURCE_FREE
        return made;
    }

    Source(State& state, std::unique_ptr<InputFile> file) : state_(state), file_(std::move(file)) {
        zip_error_init(&error_);
    }
    ~Source() { zip_error_fini(&error_); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

private:
    static zip_int64_t call(void* self, void* data, zip_uint64_t size, zip_source_cmd_t command) {
        auto* const source = static_cast<Source*>(self);
        if (command != ZIP_SOURCE_FREE)
            return source->answer(data, size, command);
        delete source;
        return 0;
    }

    zip_int64_t answer(void* data, zip_uint64_t size, zip_source_cmd_t command) {
        switch (command) {
        case ZIP_SOURCE_OPEN:
            return moveTo(0);
        case ZIP_SOURCE_CLOSE:
            return 0;
        case ZIP_SOURCE_READ:
            return read(data, size);
        case ZIP_SOURCE_SEEK: {
            const zip_int64_t target = zip_source_seek_compute_offset(at_, file_->size(), data, size, &error_);
            return target < 0 ? -1 : moveTo(static_cast<std::uint64_t>(target));
        }
        case ZIP_SOURCE_TELL:
            return static_cast<zip_int64_t>(at_);
        case ZIP_SOURCE_STAT: {
            auto* const status = static_cast<zip_stat_t*>(data);
            zip_stat_init(status);
            status->size = file_->size();
            status->valid |= ZIP_STAT_SIZE;
            return sizeof *status;
        }
        case ZIP_SOURCE_ERROR:
            return zip_error_to_data(&error_, data, size);
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL,
                                                  ZIP_SOURCE_SUPPORTS, -1);
        default:
            return fail(ZIP_ER_OPNOTSUPP);
        }
    }

    zip_int64_t moveTo(std::uint64_t position) {
        if (!file_->seek(position))
            return fail(ZIP_ER_SEEK);
        at_ = position;
        return 0;
    }

    zip_int64_t read(void* data, zip_uint64_t size) {
        if (state_.stopped())
            return fail(ZIP_ER_CANCELLED);
        if (state_.opening && (state_.tableBytes += size) > ZipArchive::mostTableBytes)
            return fail(ZIP_ER_MEMORY);
        const std::int64_t got = file_->read(data, static_cast<std::size_t>(size));
        if (got < 0)
            return fail(ZIP_ER_READ);
        at_ += static_cast<std::uint64_t>(got);
        return got;
    }

    zip_int64_t fail(int number) {
        zip_error_set(&error_, number, 0);
        return -1;
    }

    State& state_;
    std::unique_ptr<InputFile> file_;
    zip_error_t error_;
    std::uint64_t at_ = 0;
};

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
        if (archive->state->stopped()) {
            error = wasStopped;
            break;
        }
        const zip_int64_t got = zip_fread(file, piece.data(), piece.size());
        if (got == 0)
            break;
        if (got < 0) {
            error = zip_error_code_zip(zip_file_get_error(file));
            error = error != 0 ? error : ZIP_ER_READ;
        } else if ((total += static_cast<std::uint64_t>(got)) > size) {
            error = ZIP_ER_INCONS; // a zip that lies about its sizes must not fill the disk
        } else if (!out.write(piece.data(), got)) {
            error = writeFailed;
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
        while (!archive->state->stopped()) {
            const std::size_t before = text.size();
            text.resize(before + piece);
            const zip_int64_t got = zip_fread(file, text.data() + before, piece);
            text.resize(before + static_cast<std::size_t>(got > 0 ? got : 0));
            if (got <= 0) {
                complete = got == 0 && text.size() == size;
                break;
            }
            if (text.size() > size) // a zip that lies about its sizes must not fill the memory
                break;
        }
        complete = zip_fclose(file) == 0 && complete;
    }
    if (good)
        *good = complete;
    return text;
}

ZipArchive::ZipArchive(std::filesystem::path path, bool (*stop)()) : state(std::make_unique<State>()) {
    state->path = std::move(path);
    state->stop = stop;
}

ZipArchive::~ZipArchive() {
    close();
}

bool ZipArchive::open(OpenMode mode) {
    close();
    const std::string name = pathText(state->path);
    if (mode == OpenMode::create) {
        int error = 0;
        state->zip = zip_open(name.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
        return state->zip != nullptr;
    }
    auto file = std::make_unique<InputFile>();
    zip_source_t* const source = file->open(name) == 0 ? Source<State>::make(*state, std::move(file)) : nullptr;
    if (!source)
        return false;
    state->tableBytes = 0;
    state->opening = true;
    state->zip = zip_open_from_source(source, ZIP_RDONLY, nullptr);
    state->opening = false;
    if (!state->zip)
        zip_source_free(source);
    return state->zip != nullptr;
}

std::uint64_t ZipArchive::countEntries() const {
    const zip_int64_t count = state->zip ? zip_get_num_entries(state->zip, 0) : 0;
    return static_cast<std::uint64_t>(std::max<zip_int64_t>(count, 0));
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
