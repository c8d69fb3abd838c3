// The command line of kestrelune-pack.
#pragma once

#include "tools/pack/pack.h"

#include <optional>
#include <string>
#include <vector>

namespace kes::pack {

struct Command {
    PackPlan plan;
    std::filesystem::path badRows; ///< gets all bad rows as a comma list; empty = none
    std::size_t badRowsShown = 20; ///< on the terminal
    bool help = false;
};

/// Nothing, and the reason in `problem`, when the arguments (without the program's name) are wrong.
std::optional<Command> parseCommand(const std::vector<std::string>& arguments, std::string& problem);

/// Runs the program. What it says goes to `out` and `error`. Returns the exit code: 0 good, 1 failed, 2 wrong
/// arguments.
int runCommand(const std::vector<std::string>& arguments, std::string& out, std::string& error);

} // namespace kes::pack
