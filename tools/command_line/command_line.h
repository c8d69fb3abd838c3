// SPDX-License-Identifier: MIT
// What the command lines of all programs around the main one have in common, on top of CLI11: --help, --version, one
// way to read a value and to say what is wrong with it, and the exit codes. Options act in the order in which they
// stand, and one that comes again replaces what it said before. A value may begin with a dash.
#pragma once

#include <charconv>
#include <fmt/format.h>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace kes::command_line {

inline constexpr int good = 0, failed = 1, wrongArguments = 2; ///< exit codes

/// Why a program ends before it has done anything: it told its options or its version, or the arguments are wrong.
struct Ending {
    int code = good;
    std::string text; ///< whole lines
};

/// Gives `app`, which has a name and a description, the options of all programs. To be called before others are added.
void prepare(CLI::App& app);

/// Reads the arguments, without the program's name. Nothing when the program is to go on.
std::optional<Ending> parse(CLI::App& app, const std::vector<std::string>& arguments);

/// The ending for arguments that are wrong in a way that `parse` cannot know.
Ending wrong(const CLI::App& app, std::string_view problem);

/// Writes the text, of a good ending to the standard output, else to the standard error. Returns the exit code.
int tell(const Ending& ending);

/// False when the text is not what is wanted; may throw std::runtime_error that tells why else it cannot be taken.
using Read = std::function<bool(const std::string& text)>;

/// Adds an option with a value. `form` and `description` are told by --help, `wanted` when `read` says no.
CLI::Option* addValue(CLI::App& app, const std::string& name, const std::string& form, const std::string& wanted,
                      const Read& read, const std::string& description);

/// Adds an option whose value may be any text.
CLI::Option* addText(CLI::App& app, const std::string& name, const std::string& form, std::string& target,
                     const std::string& description);

/// Adds an option without a value. `set` may throw std::runtime_error as `Read` does.
CLI::Option* addFlag(CLI::App& app, const std::string& name, const std::function<void()>& set,
                     const std::string& description);

/// Reads all of a text as a number from `least` to `most`, the same on every machine. False, with `target` as it was,
/// for anything else.
template <typename Number> bool readNumber(std::string_view text, Number& target, Number least, Number most) {
    Number n{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (error != std::errc() || end != text.data() + text.size() || !(n >= least && n <= most))
        return false;
    target = n;
    return true;
}

/// Adds an option whose value is a number from `least` to `most`.
template <typename Number>
CLI::Option* addNumber(CLI::App& app, const std::string& name, Number& target, std::type_identity_t<Number> least,
                       std::type_identity_t<Number> most, const std::string& description) {
    const std::string_view kind = std::is_integral_v<Number> ? "whole number" : "number";
    return addValue(
        app, name, "N", fmt::format("a {} from {} to {}", kind, least, most),
        [&target, least, most](const std::string& text) { return readNumber(text, target, least, most); }, description);
}

} // namespace kes::command_line
