// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/output.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kes::platform {

namespace {

/// What is written at once into a file. A pipe or terminal that is ready is sure to take only a small piece.
constexpr std::size_t filePiece = 65536;
constexpr std::size_t otherPiece = 512;
static_assert(otherPiece <= PIPE_BUF);

std::size_t pieceOf(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? filePiece : otherPiece;
}

} // namespace

Output::Output(Standard stream) : handle_(stream == Standard::out ? STDOUT_FILENO : STDERR_FILENO) {
    mostAtOnce_ = pieceOf(static_cast<int>(handle_));
}

bool isTerminal(Output::Standard stream) {
    return ::isatty(stream == Output::Standard::out ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

bool Output::open(const std::filesystem::path& path, std::string& error) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
    if (descriptor < 0) {
        error = outputErrorText(errno);
        return false;
    }
    *this = own(descriptor);
    return true;
}

Output Output::own(int descriptor) {
    Output output;
    output.handle_ = descriptor;
    output.owned_ = true;
    output.mostAtOnce_ = pieceOf(descriptor);
    return output;
}

void Output::close() {
    if (owned_ && handle_ >= 0)
        ::close(static_cast<int>(handle_));
    handle_ = -1;
}

Output::Result Output::write(std::string_view text, int waitMs) {
    pollfd ready{static_cast<int>(handle_), POLLOUT, 0};
    if (text.empty() || ::poll(&ready, 1, waitMs) == 0)
        return {};
    const ssize_t written =
        ::write(static_cast<int>(handle_), text.data(), std::min<std::size_t>(text.size(), mostAtOnce_));
    if (written >= 0)
        return {static_cast<std::size_t>(written), 0};
    return {0, errno == EINTR || errno == EAGAIN ? 0 : errno};
}

void surviveFailedWrites() {
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
}

} // namespace kes::platform

#endif
