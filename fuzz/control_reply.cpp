// SPDX-License-Identifier: MIT
// Any bytes as the client's answer to the version question: the read-out stays short and printable.
#include "core/run_state.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "fuzz/fuzz.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kes::setReadout(kes::Readout::edition, "");
    kes::evaluateVersionReply(std::string(kes::fuzz::textOf(data, size)));
    const std::string edition = kes::readoutText(kes::Readout::edition);
    kes::fuzz::require(edition.size() <= 80 && (!kes::rtProfEdition || edition.starts_with("RT prof edition: ")));
    kes::fuzz::require(std::ranges::all_of(edition, [](char c) { return c >= ' ' && c <= '~'; }));
    return 0;
}
