// SPDX-License-Identifier: MIT
#include "update/download.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/file.h"
#include "platform/system.h"

#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>

namespace kes {

namespace fs = std::filesystem;

DownloadLimits downloadLimits;

namespace {

constexpr long mostRedirects = 5;
constexpr std::uint64_t longestBaseFile = 65536; ///< bytes of "input/update_server.txt"

bool isUrl(std::string_view text) {
    return hasScheme(text, "https://") || hasScheme(text, "http://");
}

std::string fileUrl(const fs::path& folder) {
    std::string path = platform::pathText(fs::absolute(folder).lexically_normal());
    std::string url = "file://";
    if (!path.starts_with('/'))
        url += '/'; // a drive letter
    for (const char c : path) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           std::string_view("/-_.~:").find(c) != std::string_view::npos;
        if (plain)
            url += c;
        else if (c == '\\')
            url += '/';
        else
            url += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return url;
}

/// What curl writes through: the bytes go to a file beside the target.
struct Sink {
    std::ofstream file;
    std::uint64_t bytes = 0;
};

std::size_t write(char* data, std::size_t size, std::size_t count, void* target) {
    auto& sink = *static_cast<Sink*>(target);
    // Not every server tells the size before.
    if ((sink.bytes += size * count) > downloadLimits.mostBytes)
        return 0;
    sink.file.write(data, static_cast<std::streamsize>(size * count));
    return sink.file ? size * count : 0;
}

/// What a "file:" URL names, nothing for another one.
std::optional<std::string> localFile(const std::string& url) {
    if (!hasScheme(url, "file:"))
        return {};
    const std::unique_ptr<CURLU, void (*)(CURLU*)> parts(curl_url(), curl_url_cleanup);
    char* text = nullptr;
    if (!parts || curl_url_set(parts.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
        curl_url_get(parts.get(), CURLUPART_PATH, &text, CURLU_URLDECODE) != CURLUE_OK)
        return std::string();
    std::string path = text;
    curl_free(text);
    if (fs::path::preferred_separator == '\\' && path.size() > 2 && path[2] == ':') // "/C:/updates/..."
        path.erase(0, 1);
    return path;
}

int stopWhenClosing(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return stopWanted() ? 1 : 0;
}

CURLcode perform(CURL* curl, const std::string& url, Sink& sink) {
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "KLUN");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, write);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    // A dead server costs seconds, and closing the program ends a download at once.
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, downloadLimits.connectSeconds);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, downloadLimits.stallSeconds);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, downloadLimits.stallBytes);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, downloadLimits.totalSeconds);
    curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(downloadLimits.mostBytes));
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, stopWhenClosing);
    // A server may have moved, but neither to a file of this machine nor from a safe to an open line.
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https,file");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, hasScheme(url, "https:") ? "https" : "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, mostRedirects);
    const CURLcode result = curl_easy_perform(curl);
    return result == CURLE_WRITE_ERROR && sink.bytes > downloadLimits.mostBytes ? CURLE_FILESIZE_EXCEEDED : result;
}

} // namespace

bool hasScheme(std::string_view url, std::string_view scheme) {
    return equalsNoCase(url.substr(0, scheme.size()), scheme);
}

std::string downloadBase() {
    std::string text;
    const std::string file = platform::pathText(path::updateServer);
    const int error = platform::readFile(file, text, longestBaseFile);
    if (error != 0 && error != ENOENT)
        log(fmt::format("{} cannot be read: {}", file, platform::errorText(error)));
    std::string_view line = withoutMark(text);
    line = strip(line.substr(0, line.find('\n')));
    std::string base = isUrl(line)    ? std::string(line)
                       : line.empty() ? fileUrl("updates")
                                      : fileUrl(platform::pathFrom(line));
    if (!base.ends_with('/'))
        base += '/';
    return base;
}

std::string airportsBaseUrl(bool force) {
    return downloadBase() + (!par::MSFS_2020 && !force ? "MSFS2024/" : "MSFS/");
}

CurlHandle::CurlHandle() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    handle = curl_easy_init();
}

CurlHandle::~CurlHandle() {
    curl_easy_cleanup(handle);
}

void removeQuietly(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

bool downloadToFile(CURL* curl, const std::string& url, const fs::path& path, bool binary) {
    try {
        // The whole file arrives beside the target first, so that a cut line leaves a good file as it was.
        fs::path part = path;
        part += ".part";
        struct Part {
            const fs::path& path;
            ~Part() {
                std::error_code ignored;
                fs::remove(path, ignored);
            }
        } const gone{part};
        Sink sink;
        std::error_code error;
        const bool mayReplace = !fs::exists(path, error) || fs::is_regular_file(path, error);
        removeQuietly(part); // a pipe of that name would wait for a reader
        if (mayReplace)
            sink.file.open(part, binary ? std::ios::binary | std::ios::trunc : std::ios::trunc);
        if (!sink.file.is_open()) {
            log(fmt::format("could not open output file: {}", platform::pathText(path)));
            return false;
        }
        CURLcode result = CURLE_FAILED_INIT;
        int unreadable = 0;
        // The library would wait for a pipe for ever.
        if (const auto local = localFile(url)) {
            platform::InputFile probe;
            unreadable = probe.open(*local);
        }
        if (curl && unreadable == 0)
            result = perform(curl, url, sink);
        sink.file.close();
        if (result == CURLE_OK && sink.file) {
            fs::rename(part, path);
            return true;
        }
        log(fmt::format("{}: {}", url,
                        unreadable != 0 ? platform::errorText(unreadable)
                                        : curl_easy_strerror(result == CURLE_OK ? CURLE_WRITE_ERROR : result)));
        if (!fs::exists(path, error))
            std::ofstream(path, std::ios::binary).flush();
        return false;
    } catch (const std::exception& e) {
        log(fmt::format("downloader exception: \"{}\", {} => {}", e.what(), url, platform::pathText(path)));
        return false;
    }
}

} // namespace kes
