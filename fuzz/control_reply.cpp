// SPDX-License-Identifier: MIT
// Any bytes as the client's answer to the version question: the read-out stays short and printable.
#include "core/run_state.h"
#include "core/window.h"
#include "feed/control_link.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kes::setReadout(kes::Readout::edition, "");
    kes::evaluateVersionReply(std::string(reinterpret_cast<const char*>(data), size));
    const std::string edition = kes::readoutText(kes::Readout::edition);
    if (edition.size() > 80 || (kes::rtProfEdition && !edition.starts_with("RT prof edition: ")))
        std::abort();
    for (const char c : edition)
        if (c < ' ' || c > '~')
            std::abort();
    return 0;
}
