// SPDX-License-Identifier: MIT
#include "tools/command_line/command_line.h"

#include "core/text.h"
#include "core/version.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace kes::command_line {

namespace {

/// The text in lines that leave room for the names of the options before them.
std::string wrapped(std::string_view text) {
    constexpr std::size_t width = 84;
    std::string out;
    std::size_t used = 0;
    for (const std::string_view word : split(text, ' ')) {
        const bool fits = used + word.size() < width;
        if (!out.empty())
            out += fits ? ' ' : '\n';
        used = (fits ? used + 1 : 0) + word.size();
        out += word;
    }
    return out;
}

/// An option without a value that was given one ("--quiet=no"); empty = none. The library takes most of them for what
/// they do not say, and fails on others without naming them.
std::string valueForNothing(const CLI::App& app, const std::vector<std::string>& arguments) {
    std::vector<const CLI::App*> commands{&app};
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back(command);
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (!name.starts_with("--") || name.size() == argument.size())
            continue;
        for (const CLI::App* command : commands) {
            const CLI::Option* option = command->get_option_no_throw(name);
            if (option != nullptr && option->get_items_expected_max() == 0)
                return name;
        }
    }
    return {};
}

} // namespace

void prepare(CLI::App& app) {
    app.allow_windows_style_options(false); // or a path that begins with a slash would be taken for an option
    app.set_help_flag("-h,--help", "This text");
    app.set_version_flag("--version", fmt::format("{} {}", app.get_name(), programVersionText), "The version");
    app.get_formatter()->column_width(32);
}

std::optional<Ending> parse(CLI::App& app, const std::vector<std::string>& arguments) {
    if (const std::string name = valueForNothing(app, arguments); !name.empty())
        return wrong(app, name + " takes no value");
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend())); // it takes them from the back
    } catch (const CLI::CallForHelp&) {
        return Ending{good, app.help("", CLI::AppFormatMode::All)};
    } catch (const CLI::CallForVersion& version) {
        return Ending{good, version.what() + std::string("\n")};
    } catch (const CLI::ExtrasError&) {
        return wrong(app, fmt::format("unknown: {}", fmt::join(app.remaining(true), " ")));
    } catch (const CLI::ParseError& problem) {
        return wrong(app, problem.what());
    }
    return std::nullopt;
}

Ending wrong(const CLI::App& app, std::string_view problem) {
    return {wrongArguments, fmt::format("{}: {} (see --help)\n", app.get_name(), problem)};
}

int tell(const Ending& ending) {
    std::fputs(ending.text.c_str(), ending.code == good ? stdout : stderr);
    return ending.code;
}

CLI::Option* addValue(CLI::App& app, const std::string& name, const std::string& form, const std::string& wanted,
                      const Read& read, const std::string& description) {
    const auto take = [name, wanted, read](const std::string& text) {
        std::string problem;
        try {
            if (read(text))
                return;
            problem = fmt::format(" wants {}, not \"{}\"", wanted, text);
        } catch (const std::runtime_error& reason) {
            problem = fmt::format(": {}", reason.what());
        }
        throw CLI::ValidationError(name + problem);
    };
    return app.add_option_function<std::string>(name, take, wrapped(description))
        ->type_name(form)
        ->trigger_on_parse(); // not at the end: the order counts
}

CLI::Option* addText(CLI::App& app, const std::string& name, const std::string& form, std::string& target,
                     const std::string& description) {
    return addValue(
        app, name, form, "",
        [&target](const std::string& text) {
            target = text;
            return true;
        },
        description);
}

CLI::Option* addFlag(CLI::App& app, const std::string& name, const std::function<void()>& set,
                     const std::string& description) {
    const auto act = [name, set](std::int64_t) {
        try {
            set();
        } catch (const std::runtime_error& reason) {
            throw CLI::ValidationError(fmt::format("{}: {}", name, reason.what()));
        }
    };
    return app.add_flag_function(name, act, wrapped(description))->trigger_on_parse();
}

} // namespace kes::command_line
