// SPDX-License-Identifier: MIT
// Titles that must not become records, since a regcode file forbids them. Worker.
#pragma once

#include <string>
#include <vector>

namespace kes {

extern std::vector<std::string> dontUseTitles; ///< filled by `readDontUseTitles`, read by the scan

/// Fills `dontUseTitles` anew from the update server's regcode document and the user's regcode files. Never throws for
/// bad content: what is wrong goes to the log.
void readDontUseTitles();

} // namespace kes
