// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/system.h"
#include "platform/system_os.h"

#include <algorithm>
// windows.h declares what the others need.
// clang-format off
#include <windows.h>
#include <psapi.h>
#include <shlobj.h>
#include <timeapi.h>
#include <tlhelp32.h>
// clang-format on
#include <cstdlib>
#include <exception>
#include <system_error>

namespace kes::platform {

namespace {

namespace fs = std::filesystem;

std::wstring wide(std::string_view utf8) {
    const std::u16string text = toUtf16(utf8);
    return {text.begin(), text.end()};
}

std::string reason(const char* step) {
    return std::string(step) + ": " + std::system_category().message(static_cast<int>(::GetLastError()));
}

fs::path knownFolder(int folder) {
    wchar_t buffer[MAX_PATH];
    return ::SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, buffer) == S_OK ? fs::path(buffer)
                                                                                            : fs::path();
}

void (*closeHandler)() = nullptr;

void (*crashHandler)() = nullptr;

LONG WINAPI onCrash(EXCEPTION_POINTERS*) {
    crashHandler();
    return EXCEPTION_CONTINUE_SEARCH;
}

BOOL WINAPI onConsole(DWORD) {
    closeHandler();
    // The process is ended as soon as this returns from a close of the console; the close-down needs the time.
    ::Sleep(10000);
    return TRUE;
}

} // namespace

bool takeInstanceLock(std::string_view name) {
    // The handle is kept for the life of the process on purpose.
    const HANDLE mutex = ::CreateMutexW(nullptr, FALSE, wide(name).c_str());
    return mutex == nullptr || ::GetLastError() != ERROR_ALREADY_EXISTS;
}

bool takeFolderLock(const fs::path& file) {
    // Opened for nobody else; goes with the handle, which is kept for the life of the process on purpose.
    const HANDLE lock = ::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    return lock != INVALID_HANDLE_VALUE || ::GetLastError() != ERROR_SHARING_VIOLATION;
}

fs::path roamingFolder() {
    return knownFolder(CSIDL_APPDATA);
}
fs::path localFolder() {
    return knownFolder(CSIDL_LOCAL_APPDATA);
}

fs::path executableFolder() {
    std::wstring name(32768, L'\0'); // the longest path there is
    name.resize(::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return fs::path(name).parent_path();
}

namespace os {

bool writeThrough(const fs::path& path, std::string_view content, std::string& error) {
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = reason("open");
        return false;
    }
    bool good = true;
    while (good && !content.empty()) {
        DWORD written = 0;
        const auto part = static_cast<DWORD>(std::min<std::size_t>(content.size(), 1 << 20));
        good = ::WriteFile(file, content.data(), part, &written, nullptr) && written > 0;
        content.remove_prefix(written);
    }
    if (!good || !::FlushFileBuffers(file)) {
        error = reason("write");
        good = false;
    }
    ::CloseHandle(file);
    return good;
}

bool moveOver(const fs::path& from, const fs::path& to, std::string& error) {
    if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return true;
    error = reason("rename");
    return false;
}

} // namespace os

void beginFineTimer() {
    ::timeBeginPeriod(1);
}
void endFineTimer() {
    ::timeEndPeriod(1);
}

void watchCloseSignals(void (*onClose)()) {
    closeHandler = onClose;
    ::SetConsoleCtrlHandler(onConsole, TRUE);
}

void watchSwitchSignal(void (*)()) {}

void watchCrashes(void (*beforeEnd)()) {
    crashHandler = beforeEnd;
    ::SetUnhandledExceptionFilter(onCrash);
    // An exception that nobody catches ends the process by abort(), which the filter does not see.
    std::set_terminate([] {
        crashHandler();
        std::abort();
    });
}

void nameThread(const char* name) {
    // Only since Windows 10, and not in every tool chain's headers: without it threads stay nameless.
    using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription");
    if (found != nullptr)
        reinterpret_cast<SetDescription>(reinterpret_cast<void*>(found))(::GetCurrentThread(), wide(name).c_str());
}

std::size_t residentKb() {
    PROCESS_MEMORY_COUNTERS counters;
    return ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize / 1024
                                                                                     : 0;
}

std::size_t threadCount() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return 0;
    THREADENTRY32 entry;
    entry.dwSize = sizeof entry;
    std::size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more; more = ::Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    ::CloseHandle(snapshot);
    return count;
}

} // namespace kes::platform

#endif
