// SPDX-License-Identifier: MIT
// The first line of a version file: any bytes give a version and perhaps a hash, none, or the one error that is told.
#include "update/server_version.h"

#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        (void)kes::parseServerVersion({reinterpret_cast<const char*>(data), size});
    } catch (const std::out_of_range&) {
    }
    return 0;
}
