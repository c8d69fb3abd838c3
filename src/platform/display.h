// SPDX-License-Identifier: MIT
// Whether this machine shows windows, and functions of the libraries that show them.
#pragma once

#include <string>

namespace kes::platform {

/// False when no display is named or the one that is does not take a connection; `reason` tells about the latter, and
/// is empty without a name. Always true where every session has a desktop (Windows). Waits at most a second.
bool displayCanBeReached(std::string& reason);

/// A function of a library that the process has loaded; null when there is none of the name.
void* loadedAddress(const char* name);
template <class Function> Function loadedFunction(const char* name) {
    return reinterpret_cast<Function>(loadedAddress(name));
}

} // namespace kes::platform
