// SPDX-License-Identifier: MIT
// kestrelune-inspect: what installed packages give, which livery an aircraft gets, and the stands of an airport.
#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/dont_use.h"
#include "liveries/store.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "tools/command_line/command_line.h"
#include "tools/inspect/airport.h"
#include "tools/inspect/bgl.h"
#include "tools/inspect/inspect.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using namespace kes;

struct Arguments {
    std::string updates = "updates", document, regcodes, logFile, liveries;
    std::vector<std::string> names;
    std::vector<fs::path> folders;
    int depth = 4;
    bool match = false, airport = false, bgl = false, addons = false; ///< else liveries
    bool msfs2024 = false;
    inspect::AirportQuery query;
    std::string program = ".", learned, html;
    int day = 1, halfHour = 24;
    bool keepStubs = false, random = false;
};

std::optional<command_line::Ending> read(const std::vector<std::string>& words, Arguments& arguments) {
    using command_line::addText;
    CLI::App app(
        "Tells what installed packages give, which livery an aircraft gets, and what is known of an airport's stands.",
        "kestrelune-inspect");
    command_line::prepare(app);
    app.require_subcommand(1);
    app.fallthrough(); // the options of both may stand behind the command, too
    addText(app, "--updates", "FOLDER", arguments.updates,
            "Where dbase.zip and AIG-regcodes.zip lie: a folder or a URL (updates)");
    addText(app, "--document", "FILE", arguments.document, "Read this reference document instead of dbase.zip");
    addText(app, "--regcodes", "FOLDER", arguments.regcodes,
            "A folder of regcode files (input/my_regcodes, where that is)");
    addText(app, "--log", "FILE", arguments.logFile, "Write what the program would log");

    CLI::App* const liveries = app.add_subcommand(
        "liveries",
        "Reads every aircraft.cfg below the folders, as a scan does, and writes JSON: per file its\n"
        "liveries, per file and section why it gives none, and totals. Ends with 1 when one of the folders\n"
        "is not there.");
    liveries->add_option("folders", arguments.names, "Community folders or parts of them")->type_name("FOLDER");
    liveries->add_flag("--keep-stubs", arguments.keepStubs, "Do not leave out titles that end in -STUB");

    CLI::App* const match = app.add_subcommand(
        "match",
        "For each line \"AIRLINE MODEL REG [cargo]\" ('-' = not known) of the standard input writes a line\n"
        "with the step that found a livery (0 = none), the title, and the reason, separated by tabs. As in the\n"
        "traffic, what the data base knows of REG goes before the line, and an aircraft without an airline is\n"
        "a private owner's.");
    addText(*match, "--liveries", "FILE", arguments.liveries,
            "The list that a scan wrote to the output folder, LiveriesScanned.xml; needed");
    command_line::addNumber(*match, "--depth", arguments.depth, 1, 4, "How far the search goes (4)");
    match->add_flag("--random", arguments.random, "Choose among several liveries by chance (the first one)");

    CLI::App* const airport = app.add_subcommand(
        "airport",
        "Reads the stands of an airport as the program does, base file and what was learned on top of it, and writes\n"
        "JSON: what was read, every warning, and the quality. Registrations are looked up with --document or a\n"
        "dbase.zip only. Ends with 1 when the program would not use the airport.");
    airport
        ->add_option("airport", arguments.query.airport,
                     "An airport file, a scenery file (.bgl), or the code of an airport")
        ->type_name("FILE|CODE");
    addText(*airport, "--program", "FOLDER", arguments.program, "The program folder to look for a code in (.)");
    addText(*airport, "--learned", "FILE", arguments.learned, "The learned file on top, instead of the folder's");
    addText(*airport, "--html", "FILE", arguments.html, "Draw the stands and who stands there");
    command_line::addNumber(*airport, "--day", arguments.day, 1, 7, "... on this day of the week, 1 = Monday (1)");
    command_line::addNumber(*airport, "--half-hour", arguments.halfHour, 0, 47, "... in this half-hour in UTC (24)");

    CLI::App* const bgl = app.add_subcommand(
        "bgl",
        "Reads compiled scenery as the scan of add-on airports does, and writes JSON: per file its airports with\n"
        "their stands, and what the reader has to tell. Ends with 1 when a file cannot be read.");
    bgl->add_option("files", arguments.names, "Scenery files")->type_name("FILE");
    CLI::App* const addons = app.add_subcommand(
        "addons",
        "Tells what the scan of add-on airports does with each airport below the folders, and writes JSON. Nothing is\n"
        "changed. Publishers are known from --document or a dbase.zip. Ends with 1 when no airport was found.");
    addons->add_option("folders", arguments.names, "Community folders or parts of them")->type_name("FOLDER");
    addText(*addons, "--program", "FOLDER", arguments.program, "The program folder, which knows airports (.)");
    for (CLI::App* const command : {bgl, addons}) {
        command_line::addValue(
            *command, "--mode", "2020|2024", "2020 or 2024",
            [&arguments](const std::string& text) {
                arguments.msfs2024 = text == "2024";
                return arguments.msfs2024 || text == "2020";
            },
            "The simulator that the scan is for (2020)");
    }

    if (const auto ending = command_line::parse(app, words))
        return ending;
    arguments.bgl = bgl->parsed();
    arguments.addons = addons->parsed();
    arguments.match = match->parsed();
    arguments.airport = airport->parsed();
    if (arguments.airport && arguments.query.airport.empty())
        return command_line::wrong(app, "no airport is given");
    if (arguments.regcodes.empty() && fs::is_directory(path::myRegcodes)) // as the program itself does in its folder
        arguments.regcodes = platform::pathText(path::myRegcodes);
    else if (!arguments.regcodes.empty() && !fs::is_directory(platform::pathFrom(arguments.regcodes)))
        return command_line::wrong(app, fmt::format("--regcodes wants a folder, not \"{}\"", arguments.regcodes));
    if (!arguments.match && !arguments.airport && arguments.names.empty())
        return command_line::wrong(app, arguments.bgl ? "no file is given" : "no folder is given");
    if (arguments.match && arguments.liveries.empty())
        return command_line::wrong(app, "match wants --liveries FILE");
    for (const std::string& name : arguments.names)
        arguments.folders.push_back(fs::absolute(platform::pathFrom(name)));
    for (std::string* file : {&arguments.document, &arguments.regcodes, &arguments.logFile, &arguments.liveries,
                              &arguments.program, &arguments.learned, &arguments.html}) {
        if (!file->empty())
            *file = platform::pathText(fs::absolute(platform::pathFrom(*file)));
    }
    return std::nullopt;
}

int match(const Arguments& arguments) {
    std::error_code error;
    if (!fs::copy_file(platform::pathFrom(arguments.liveries), path::liveriesScanned, error))
        throw std::runtime_error(fmt::format("{}: {}", arguments.liveries, error.message()));
    par::MATCHING_DEPTH.value = arguments.depth;
    par::RANDOM.value = arguments.random;
    try {
        processScannedLiveries();
    } catch (const nwk::UserErrorException& e) {
        throw std::runtime_error(fmt::format("{} was read as {}", arguments.liveries, e.what()));
    }
    std::size_t lines = 0, found = 0;
    for (std::string line; std::getline(std::cin, line);) {
        if (const auto query = inspect::parseQuery(line)) {
            const auto answer = inspect::answer(*query);
            std::cout << answer.step << '\t' << answer.title << '\t' << answer.reason << '\n';
            ++lines;
            found += answer.step > 0;
        } else {
            std::cout << "?\t\tnot of the form AIRLINE MODEL REG [cargo]: " << line << '\n';
        }
    }
    std::cerr << fmt::format("{} of {} aircraft have a livery\n", found, lines);
    return 0;
}

int airport(const Arguments& arguments) {
    inspect::AirportQuery query = arguments.query;
    query.program = platform::pathFrom(arguments.program);
    query.learned = platform::pathFrom(arguments.learned);
    query.log = platform::pathFrom(arguments.logFile);
    const auto result = inspect::inspectAirport(query);
    std::cout << result.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    if (!arguments.html.empty()) {
        std::string reason;
        if (!platform::replaceFile(platform::pathFrom(arguments.html),
                                   inspect::airportPage(result, arguments.day, arguments.halfHour), reason))
            throw std::runtime_error(fmt::format("{}: {}", arguments.html, reason));
    }
    const auto& totals = result["totals"];
    std::cerr << fmt::format("{} stands, {} options, {} warnings{}\n", totals["stands"].get<std::size_t>(),
                             totals["options"].get<std::size_t>(), result["warnings"].size(),
                             result.contains("error") ? ": " + result["error"].get<std::string>() : "");
    return result.contains("error") ? 1 : 0;
}

int bgl(const Arguments& arguments) {
    const auto result = inspect::inspectBgl(arguments.names, arguments.msfs2024);
    std::cout << result.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    const bool failed = std::ranges::any_of(result, [](const auto& file) { return file.contains("error"); });
    return failed ? 1 : 0;
}

void readReferenceData(const std::string& updates) {
    try {
        readDataBase();
    } catch (const std::runtime_error& error) {
        throw AdvisedError(error.what(), fmt::format("dbase.zip was looked for at \"{}\"; --updates names another "
                                                     "folder or address, as ./run makes it, --document a document.",
                                                     updates));
    }
}

int run(const Arguments& arguments) {
    if (arguments.bgl)
        return bgl(arguments);
    const inspect::WorkFolder work(arguments.updates);
    if (!arguments.logFile.empty() && !arguments.airport)
        openLog(platform::pathFrom(arguments.logFile));
    setParameterDefaults();
    if (!arguments.regcodes.empty())
        fs::copy(platform::pathFrom(arguments.regcodes), path::myRegcodes);
    if (!arguments.document.empty())
        readReferenceDocument(platform::pathFrom(arguments.document));
    else if ((!arguments.airport && !arguments.addons) ||
             fs::exists(platform::pathFrom(arguments.updates) / "dbase.zip"))
        readReferenceData(arguments.updates);
    if (arguments.airport)
        return airport(arguments);
    int code = 0;
    if (arguments.addons) {
        const auto result =
            inspect::inspectAddons(arguments.folders, platform::pathFrom(arguments.program), arguments.msfs2024);
        std::cout << result.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        for (const fs::path& folder : arguments.folders) {
            if (!fs::is_directory(folder))
                std::cerr << fmt::format("kestrelune-inspect: {}: does not exist\n", platform::pathText(folder));
        }
        std::cerr << result["summary"].get<std::string>() << '\n';
        code = result["found"].get<bool>() ? 0 : 1;
    } else if (arguments.match) {
        code = match(arguments);
    } else {
        readDontUseTitles();
        const auto result = inspect::inspectLiveries(arguments.folders, !arguments.keepStubs);
        std::cout << result.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        for (const auto& folder : result["folders"]) {
            if (folder.contains("problem"))
                std::cerr << fmt::format("kestrelune-inspect: {}: {}\n", folder["path"].get<std::string>(),
                                         folder["problem"].get<std::string>());
        }
        code = result["totals"]["foldersNotRead"].get<std::size_t>() > 0 ? 1 : 0;
        std::cerr << fmt::format("{} liveries in {} files\n", result["totals"]["liveries"].get<std::size_t>(),
                                 result["totals"]["files"].get<std::size_t>());
    }
    closeLog();
    return code;
}

} // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    if (const auto ending = read({argv + 1, argv + argc}, arguments))
        return command_line::tell(*ending);
    try {
        return run(arguments);
    } catch (const std::exception& e) {
        std::cerr << "kestrelune-inspect: " << e.what() << '\n';
        if (const std::string cure = adviceOf(e); !cure.empty())
            std::cerr << cure << '\n';
        return 1;
    }
}
