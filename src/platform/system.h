// SPDX-License-Identifier: MIT
// What the program needs from the operating system besides files, outputs, sockets and the folders of other systems.
// Every #ifdef for one lives in this folder. Any thread, unless told.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace win32 {

/// A failed conversion between UTF-8 and UTF-16, with the system's error code.
class Utf8ConversionException : public std::runtime_error {
public:
    Utf8ConversionException(const std::string& text, std::uint32_t code) : std::runtime_error(text), errorCode(code) {}
    const std::uint32_t errorCode;
};

} // namespace win32

namespace kes::platform {

/// Takes the one instance lock of this user's desktop ("Local\\$Kestrelune$" on Windows, a locked file in the runtime
/// folder elsewhere). True for the first process of this user, and where the system does not let ask for the lock; held
/// until the process ends.
bool takeInstanceLock(std::string_view name);

/// Takes the lock of a program folder: two desktops, or two users, of one machine have an instance lock each, and would
/// share the folder all the same. `file` is created in it. False when another process holds it; true also where the
/// file system knows no locks. Held until the process ends.
bool takeFolderLock(const std::filesystem::path& file);

/// The roaming application data folder: APPDATA on Windows, XDG_CONFIG_HOME or ~/.config elsewhere. Empty = unknown.
std::filesystem::path roamingFolder();
/// The local application data folder: LOCALAPPDATA, or XDG_DATA_HOME or ~/.local/share. Empty = unknown.
std::filesystem::path localFolder();

/// The folder that this process's program file stands in, with links followed. Empty = unknown.
std::filesystem::path executableFolder();

/// Writes `content` to a temporary beside `target`, flushes it to the disk and moves it over the target in one step.
/// False on failure, with the reason in `error`; the old file is then untouched and no temporary stays.
bool replaceFile(const std::filesystem::path& target, std::string_view content, std::string& error);

/// Asks for a 1 ms timer and gives it back; calls nest. Does nothing where sleeps are as fine as that already.
void beginFineTimer();
void endFineTimer();

std::u16string toUtf16(std::string_view utf8); ///< throws win32::Utf8ConversionException
std::string toUtf8(std::u16string_view utf16); ///< throws win32::Utf8ConversionException
/// A path as UTF-8 text and back. On Windows `pathFrom` throws std::system_error for what is no UTF-8; elsewhere names
/// are any bytes.
std::string pathText(const std::filesystem::path& path);
std::filesystem::path pathFrom(std::string_view utf8);

/// Calls `onClose` on a thread of its own whenever the user asks the process to end (Ctrl-C, SIGTERM, console close).
/// Before any other thread is started.
void watchCloseSignals(void (*onClose)());

/// Calls `onSwitch` on a thread of its own whenever the process gets the signal SIGUSR1. Does nothing on Windows.
/// Before any other thread is started.
void watchSwitchSignal(void (*onSwitch)());

/// Calls `beforeEnd` on the failing thread when the process is about to end by a fault of its own; the other threads
/// still run. It may only wait and read atomics.
void watchCrashes(void (*beforeEnd)());

/// Names the calling thread for debuggers.
void nameThread(const char* name);

/// Resident memory of this process in kilobytes and its number of threads; 0 = unknown.
std::size_t residentKb();
std::size_t threadCount();

} // namespace kes::platform
