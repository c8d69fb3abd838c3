// SPDX-License-Identifier: MIT
// A folder into which nobody may write, not even the superuser as whom tests run in a container.
#pragma once

#include <filesystem>
#include <sys/fsuid.h>
#include <unistd.h>

namespace kes::test {

/// Of the present program folder; the thread that makes it is the one that may not write.
struct ReadOnlyFolder {
    explicit ReadOnlyFolder(std::filesystem::path readOnly) : folder(std::move(readOnly)) {
        using std::filesystem::perms;
        std::filesystem::permissions(".", perms(0755)); // made for its owner alone
        std::filesystem::permissions(folder, perms(0555));
        if (geteuid() == 0)
            setfsuid(65534);
    }
    ~ReadOnlyFolder() {
        setfsuid(geteuid());
        std::filesystem::permissions(folder, std::filesystem::perms(0755));
    }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;
    std::filesystem::path folder;
};

} // namespace kes::test
