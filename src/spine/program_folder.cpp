// SPDX-License-Identifier: MIT
#include "spine/program_folder.h"

#include "core/folders.h"
#include "core/version.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <fmt/format.h>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* contentFolder = "kestrelune";
/// Beside what was brought along: from which state of the installed content.
constexpr const char* stampFile = "installed_content.txt";
constexpr std::uint64_t longestStamp = 4096;

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

/// A user's documents may well lie in a folder "docs", so that alone does not make a program folder of the folder that
/// an installed program is started in.
bool isProgramFolder(const fs::path& folder) {
    return isFolder(folder / path::docs) && isFolder(folder / path::input);
}

/// Changes with every file that is added, taken away, or written anew.
std::string stampOf(const fs::path& content) {
    std::size_t files = 0;
    std::uintmax_t bytes = 0;
    fs::file_time_type newest = fs::file_time_type::min();
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(content)) {
        if (!entry.is_regular_file())
            continue;
        ++files;
        bytes += entry.file_size();
        newest = std::max(newest, entry.last_write_time());
    }
    return fmt::format("{} {} {} {}\n", programVersionText, files, bytes, newest.time_since_epoch().count());
}

void bringContent(const fs::path& content, const fs::path& folder) {
    const std::string stamp = stampOf(content);
    std::string known;
    if (platform::readFile(platform::pathText(folder / stampFile), known, longestStamp) == 0 && known == stamp &&
        isProgramFolder(folder))
        return;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(content)) {
        const fs::path relative = entry.path().lexically_relative(content);
        const fs::path target = folder / relative;
        if (entry.is_directory())
            fs::create_directories(target);
        else if (entry.is_regular_file() && !(relative == path::updateServer && fs::exists(target))) // a user's setting
            fs::copy_file(entry.path(), target, fs::copy_options::overwrite_existing);
    }
    // The last of all: a copy that was broken off is begun again.
    if (std::string reason; !platform::replaceFile(folder / stampFile, stamp, reason))
        throw std::runtime_error(reason);
}

} // namespace

fs::path installedContent() {
    const fs::path programs = platform::executableFolder();
    if (programs.empty())
        return {};
    const fs::path content = programs.parent_path() / "share" / contentFolder;
    return isProgramFolder(content) ? content : fs::path();
}

void enterProgramFolder(const fs::path& named, const fs::path& content) {
    if (named.empty() && (content.empty() || isProgramFolder(fs::current_path())))
        return;
    fs::path folder = named;
    if (folder.empty()) {
        folder = platform::localFolder();
        if (folder.empty())
            throw std::runtime_error("this user has no data folder; name a folder with --folder");
        folder /= programName;
    }
    try {
        fs::create_directories(folder);
        if (!content.empty())
            bringContent(content, folder);
        fs::current_path(folder);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("the folder {} cannot be used ({}); name another with --folder",
                                             platform::pathText(folder), error.what()));
    }
}

} // namespace kes
