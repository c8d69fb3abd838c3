// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/display.h"

namespace kes::platform {

bool displayCanBeReached(std::string& reason) {
    reason.clear();
    return true;
}

void* loadedAddress(const char*) {
    return nullptr;
}

} // namespace kes::platform

#endif
