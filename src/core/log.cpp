// SPDX-License-Identifier: MIT
#include "core/log.h"

#include "core/clock.h"
#include "core/line_writer.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/system.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace kes {

namespace {

/// What waits for the disk at most: twice what foreign input may cause in a minute.
constexpr std::size_t logQueueBytes = 4 << 20;
/// The longest that the end of a log waits for the disk.
constexpr int closeLogMs = 2000;

// Neither is ever destroyed: threads log to the very end of the process.
std::mutex& logMutex = *new std::mutex;
std::shared_ptr<LineWriter>& logWriter = *new std::shared_ptr<LineWriter>; // guarded by logMutex, which no write holds
std::atomic<const LineWriter*> writerAtCrash{nullptr};

std::mutex statusMutex; // guards the four below and the drawing of the line
std::string statusLine;
std::string errorLine;
std::int32_t statusAgeSeconds = 0; // run time
std::int32_t statusShownAt = 0;    // run time at which the status text came up; 0 = none is up

constexpr std::int32_t statusLifeSeconds = 25;
constexpr std::string_view indent = "          ";

std::shared_ptr<LineWriter> currentWriter() {
    const std::lock_guard lock(logMutex);
    return logWriter;
}

/// Returns what was in use before.
std::shared_ptr<LineWriter> useWriter(std::shared_ptr<LineWriter> writer) {
    const std::lock_guard lock(logMutex);
    writerAtCrash = writer.get();
    return std::exchange(logWriter, std::move(writer));
}

void writeLine(std::string_view lead, std::string_view text) {
    if (const std::shared_ptr<LineWriter> writer = currentWriter())
        writer->write(lead, text);
}

std::string missingLines(std::uint64_t lines, const std::string& reason) {
    if (reason.empty())
        return fmt::format("===> {} line{} left out here: they came faster than the log can be written\n", lines,
                           plural(static_cast<std::int64_t>(lines)));
    return fmt::format("===> {} line{} lost here, the log could not be written: {}\n", lines,
                       plural(static_cast<std::int64_t>(lines)), reason);
}

/// "Log.txt" becomes "Log0.txt", that becomes "Log00.txt".
std::filesystem::path olderName(const std::filesystem::path& path) {
    std::filesystem::path older = path;
    older.replace_filename(path.stem());
    older += "0";
    older += path.extension();
    return older;
}

/// In one piece, so that no other thread's line comes between. An empty text is left out.
void logMessage(std::string_view text, std::string_view advice) {
    if (advice.empty() && !text.empty())
        logUnlessClosing(text);
    else if (!advice.empty())
        logUnlessClosing(fmt::format("{}{}{}{}", text, text.empty() ? "" : "\n", indent, advice));
}

/// With statusMutex held, which the caller's argument shows.
void setStatus(const std::lock_guard<std::mutex>&, std::string_view text, bool alsoLog, std::string_view advice) {
    if (!errorLine.empty())
        return;
    statusLine = text;
    statusShownAt = text.empty() ? 0 : std::max(statusAgeSeconds, 1);
    logMessage(alsoLog ? text : std::string_view(), advice);
    drawMessageLine(text, false, advice);
}

std::string clockOf(std::int64_t epochSeconds) {
    const std::string text = dateTime(epochSeconds);
    return text.substr(text.size() - 13, 8);
}

struct SocketErrorEntry {
    int code;
    std::string_view text;
};

constexpr SocketErrorEntry socketErrors[] = {
    {0, "No error"},
    {10004, "Interrupted system call"},
    {10009, "Bad file number"},
    {10013, "Permission denied"},
    {10014, "Bad address"},
    {10022, "Invalid argument"},
    {10024, "Too many open sockets"},
    {10035, "Operation would block"},
    {10036, "Operation now in progress"},
    {10037, "Operation already in progress"},
    {10038, "Socket operation on non-socket"},
    {10039, "Destination address required"},
    {10040, "Messenger too long"},
    {10041, "Protocol wrong type for socket"},
    {10042, "Bad protocol option"},
    {10043, "Protocol not supported"},
    {10044, "Socket type not supported"},
    {10045, "Operation not supported on socket"},
    {10046, "Protocol family not supported"},
    {10047, "Address family not supported by protocol family"},
    {10048, "Address already in use"},
    {10049, "Can't assign requested address"},
    {10050, "Network is down"},
    {10051, "Network is unreachable"},
    {10052, "Network dropped connection on reset"},
    {10053, "Software caused connection abort"},
    {10054, "Connection reset by peer"},
    {10055, "No buffer space available"},
    {10056, "Socket is already connected"},
    {10057, "Socket is not connected"},
    {10058, "Can't send after socket shutdown"},
    {10059, "Too many references, can't splice"},
    {10060, "Connection timed out"},
    {10061, "Connection refused"},
    {10062, "Too many levels of symbolic links"},
    {10063, "File name too long"},
    {10064, "Host is down"},
    {10065, "No route to host"},
    {10066, "Directory not empty"},
    {10067, "Too many processes"},
    {10068, "Too many users"},
    {10069, "Disc quota exceeded"},
    {10070, "Stale NFS file handle"},
    {10071, "Too many levels of remote in path"},
    {10091, "Network subsystem is unavailable"},
    {10092, "Winsock version out of range"},
    {10093, "Successful WSAStartup not yet performed"},
    {10101, "Graceful shutdown in progress"},
    {10102, "No more results"},
    {10103, "Call has been canceled"},
    {10104, "Procedure call table is invalid"},
    {10105, "Service provider is invalid"},
    {10106, "Service provider failed to initialize"},
    {10107, "System call failure"},
    {10108, "Service not found"},
    {10109, "Class type not found"},
    {10110, "No more results"},
    {10111, "Call was canceled"},
    {10112, "Database query was refused"},
    {11001, "Host not found"},
    {11002, "Non-authoritative host not found"},
    {11003, "Non-recoverable error"},
    {11004, "Valid name, no data record of requested type"},
};

} // namespace

void openLog(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    closeLog();
    const fs::path older = olderName(path);
    const fs::path oldest = olderName(older);
    // What is no file of lines, a device or a pipe, holds none that could be kept.
    const fs::file_status status = fs::status(path);
    const bool device = fs::is_fifo(status) || fs::is_character_file(status);
    if (fs::exists(older))
        fs::copy_file(older, oldest, fs::copy_options::overwrite_existing);
    if (fs::exists(status) && !device)
        fs::copy_file(path, older, fs::copy_options::overwrite_existing);
    platform::Output file;
    if (std::string reason; !file.open(path, reason))
        throw std::runtime_error("Failed to write file " + platform::pathText(path));
    // A program that ends without closing its log still has all lines in it.
    static const int atEnd = std::atexit([] { flushLog(closeLogMs); });
    static_cast<void>(atEnd);
    useWriter(
        std::make_shared<LineWriter>(std::move(file), LineWriter::Limits{logQueueBytes, "Log writer"}, missingLines));
    log(fmt::format("{} (utc) {} version {} for {}", dateTime(wallClock()), programName, toText(runningVersion()),
                    "MSFS 2020/2024"));
}

void closeLog() {
    if (const std::shared_ptr<LineWriter> writer = useWriter(nullptr))
        writer->close(closeLogMs);
}

bool flushLog(int ms) {
    const std::shared_ptr<LineWriter> writer = currentWriter();
    return writer == nullptr || writer->flush(ms);
}

std::string logTrouble() {
    const std::shared_ptr<LineWriter> writer = currentWriter();
    return writer == nullptr ? std::string() : writer->trouble();
}

void drainLogAtCrash() noexcept {
    const LineWriter* writer = writerAtCrash;
    for (int i = 0; i < 500 && writer != nullptr && !writer->idle(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

void log(std::string_view text) {
    writeLine("", text);
}
void logWarning(std::string_view text) {
    writeLine("===> ", text);
}
void logIndented(std::string_view text) {
    writeLine(indent, text);
}

void logUnlessClosing(std::string_view text) {
    if (!stopWanted())
        log(text);
}

void showStatus(std::string_view text, bool alsoLog, std::string_view advice) {
    const std::lock_guard lock(statusMutex);
    setStatus(lock, text, alsoLog, advice);
}

void clearStatus() {
    showStatus({}, true);
}

void showError(std::string_view text, std::string_view advice) {
    const std::lock_guard lock(statusMutex);
    statusLine.clear();
    statusShownAt = 0;
    errorLine = text;
    logMessage(fmt::format("Error {}", text), advice);
    drawMessageLine(text, true, advice);
}

void clearError() {
    const std::lock_guard lock(statusMutex);
    if (errorLine.empty())
        return;
    errorLine.clear();
    drawMessageLine({}, false);
}

std::string statusText() {
    const std::lock_guard lock(statusMutex);
    return statusLine;
}

std::string errorText() {
    const std::lock_guard lock(statusMutex);
    return errorLine;
}

void ageStatus() {
    const std::lock_guard lock(statusMutex);
    ++statusAgeSeconds;
    if (statusShownAt >= 1 && statusAgeSeconds - statusShownAt >= statusLifeSeconds)
        setStatus(lock, {}, true, {});
}

void resetStatus() {
    const std::lock_guard lock(statusMutex);
    statusLine.clear();
    errorLine.clear();
    statusAgeSeconds = 0;
    statusShownAt = 0;
    drawMessageLine({}, false);
}

std::string exceptionText(std::string_view name, const std::exception& exception) {
    if (const auto* conversion = dynamic_cast<const win32::Utf8ConversionException*>(&exception))
        return fmt::format("{} conversion exception {}, error code: {}", name, conversion->what(),
                           conversion->errorCode);
    return fmt::format("{} exception {}", name, exception.what());
}

std::string socketErrorText(int code) {
    for (const SocketErrorEntry& entry : socketErrors)
        if (entry.code == code)
            return fmt::format("{} {}", code, entry.text);
    return std::to_string(code);
}

std::string dateTime(std::int64_t epochSeconds) {
    static constexpr std::string_view weekdays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static constexpr std::string_view months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    using namespace std::chrono;
    // Not the C library's calendar, which may fail before 1970 and beyond 2038.
    const sys_seconds time{seconds(epochSeconds)};
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    return fmt::format("{:3} {:3} {:02} {:02}:{:02}:{:02} {:4}", weekdays[weekday(day).iso_encoding() - 1],
                       months[static_cast<unsigned>(date.month()) - 1], static_cast<unsigned>(date.day()),
                       clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                       static_cast<int>(date.year()));
}

std::string timeStamp() {
    return clockOf(wallClock());
}

std::string hhmmTime(double trafficEpoch) {
    // The feed's number is foreign; one that is no time of these ages must not become an index.
    const bool usable = trafficEpoch != 0.0 && std::fabs(trafficEpoch) < 2.5e11;
    return clockOf(rtProfEdition && usable ? static_cast<std::int64_t>(trafficEpoch) : wallClock());
}

} // namespace kes
