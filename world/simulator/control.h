// SPDX-License-Identifier: MIT
// Commands that make things happen in a running simulator, one a line, and the report of a run.
#pragma once

#include "world/simulator/model.h"

#include <string>
#include <string_view>

namespace kes::world {

/// Carries out one command and returns the answer without a line end: "ok", "error: {reason}", or JSON on one line.
/// A blank line gives an empty answer.
std::string runCommand(Simulator& simulator, std::string_view line);
/// One line for each command, for --help.
std::string_view commandHelp();

/// The counters as JSON on one line.
std::string reportJson(const Simulator& simulator);

} // namespace kes::world
