// SPDX-License-Identifier: MIT
// The first line of a version file: any bytes give a version and perhaps a hash, none, or the one error that is told.
#include "fuzz/fuzz.h"
#include "update/server_version.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        (void)kes::parseServerVersion(kes::fuzz::textOf(data, size));
    } catch (const std::out_of_range&) {
    }
    return 0;
}
