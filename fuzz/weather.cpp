// SPDX-License-Identifier: MIT
// Any bytes as a weather datagram: the pressure stays within its limits.
#include "feed/qnh_reader.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kes::qnhReader.text = {reinterpret_cast<const char*>(data), size};
    kes::qnhReader.onDatagram();
    if (kes::currentQnh < 930 || kes::currentQnh > 1080 || kes::currentQnh != kes::qnhReader.lastQnh)
        std::abort();
    return 0;
}
