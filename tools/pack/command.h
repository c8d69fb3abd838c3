// SPDX-License-Identifier: MIT
// The command line of kestrelune-pack.
#pragma once

#include <string>
#include <vector>

namespace kes::pack {

/// Runs the program. What it says goes to `out` and `error`. `arguments` are without the program's name. Returns the
/// exit code: 0 good, 1 failed, 2 wrong arguments.
int runCommand(const std::vector<std::string>& arguments, std::string& out, std::string& error);

} // namespace kes::pack
