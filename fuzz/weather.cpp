// SPDX-License-Identifier: MIT
// Any bytes as a weather datagram: the pressure stays within its limits.
#include "feed/qnh_reader.h"
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kes::qnhReader.text = kes::fuzz::textOf(data, size);
    kes::qnhReader.onDatagram();
    kes::fuzz::require(kes::currentQnh >= 930 && kes::currentQnh <= 1080 && kes::currentQnh == kes::qnhReader.lastQnh);
    return 0;
}
