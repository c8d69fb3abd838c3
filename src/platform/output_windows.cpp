// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/output.h"

#include <algorithm>
#include <windows.h>

namespace kes::platform {

namespace {

constexpr std::size_t piece = 65536;

HANDLE handleOf(std::intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}

} // namespace

Output::Output(Standard stream) : mostAtOnce_(piece) {
    const HANDLE handle = ::GetStdHandle(stream == Standard::out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    // A program without a console has none.
    handle_ = handle == nullptr || handle == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<std::intptr_t>(handle);
}

bool isTerminal(Output::Standard stream) {
    DWORD mode = 0; // only a console has one
    return ::GetConsoleMode(::GetStdHandle(stream == Output::Standard::out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE),
                            &mode) != 0;
}

bool Output::open(const std::filesystem::path& path, std::string& error) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = outputErrorText(static_cast<int>(::GetLastError()));
        return false;
    }
    close();
    handle_ = reinterpret_cast<std::intptr_t>(file);
    owned_ = true;
    mostAtOnce_ = piece;
    return true;
}

void Output::close() {
    if (owned_ && handle_ >= 0)
        ::CloseHandle(handleOf(handle_));
    handle_ = -1;
}

// A console whose text is being marked holds the write itself; the caller is a thread that may be held.
Output::Result Output::write(std::string_view text, int) {
    DWORD written = 0;
    const auto size = static_cast<DWORD>(std::min(text.size(), mostAtOnce_));
    if (size == 0 || ::WriteFile(handleOf(handle_), text.data(), size, &written, nullptr))
        return {written, 0};
    return {written, static_cast<int>(::GetLastError())};
}

void surviveFailedWrites() {}

} // namespace kes::platform

#endif
