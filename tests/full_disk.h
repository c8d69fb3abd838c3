// SPDX-License-Identifier: MIT
// A disk that is full, as far as this process can tell.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace kes::test {

/// No file may grow beyond `bytes` while this lives.
struct FullDisk {
    explicit FullDisk(rlim_t bytes = 1000) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit tight = before;
        tight.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &tight);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, oldHandler);
    }
    rlimit before{};
    void (*oldHandler)(int);
};

} // namespace kes::test
