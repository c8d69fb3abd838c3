// SPDX-License-Identifier: MIT
#include "tools/pack/command.h"

#include "core/text.h"
#include "platform/system.h"
#include "tools/command_line/command_line.h"
#include "tools/csv/csv.h"
#include "tools/pack/pack.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <limits>
#include <stdexcept>

namespace kes::pack {
namespace {

struct Command {
    PackPlan plan;
    std::filesystem::path badRows; ///< gets all bad rows as a comma list; empty = none
    std::size_t badRowsShown = 20; ///< on the terminal
};

/// Adds an option whose value is something: neither empty nor the next option.
void addNeeded(CLI::App& app, const std::string& name, const std::string& form,
               const std::function<void(const std::string&)>& take, const std::string& description) {
    command_line::addValue(
        app, name, form, "a value",
        [take](const std::string& value) {
            if (value.empty() || value.starts_with("--")) {
                return false;
            }
            take(value);
            return true;
        },
        description);
}

void addPath(CLI::App& app, const std::string& name, const std::string& form, std::filesystem::path& target,
             const std::string& description) {
    addNeeded(
        app, name, form, [&target](const std::string& value) { target = platform::pathFrom(value); }, description);
}

void addSources(CLI::App& app, Command& command) {
    PackPlan& plan = command.plan;
    addPath(app, "--data", "DIR", plan.data,
            "The plain sources; types.csv, airlines.csv, cargo_types.csv, cargo_operators.csv and simaddons20.csv are "
            "needed");
    addPath(app, "--out", "DIR", plan.out,
            "Gets dbase.zip, AIG-regcodes.zip, release/version.json and, when the data folder has my_simaddon/*.txt, "
            "mysimaddon24/");
    addNeeded(
        app, "--simaddon-version", "A.B.C", [&plan](const std::string& value) { plan.simaddonVersion = value; },
        "Version of that package (default: my_simaddon/version.csv)");
    addNeeded(
        app, "--program-version", "A.B.C", [&plan](const std::string& value) { plan.programVersion = value; },
        "Version of the program that release/ offers (default: this one)");
    addPath(app, "--bad-rows", "FILE", command.badRows, "Gets all bad rows (columns file, line, reason)");
    command_line::addNumber(app, "--show-bad", command.badRowsShown, 0, std::numeric_limits<std::size_t>::max(),
                            "How many of them are listed here (default 20)");
}

void addTypeList(CLI::App& app, PackPlan& plan) {
    addNeeded(
        app, "--type-list", "FILE",
        [&plan](const std::string& value) { plan.typeList.emplace().file = platform::pathFrom(value); },
        "ICAO type designators, a list with columns or a JSON array");
    const auto column = [&](const char* name, std::string TypeListImport::*target, const char* what) {
        const auto take = [&plan, target](const std::string& value) {
            if (!plan.typeList) {
                throw std::runtime_error("belongs behind --type-list");
            }
            (*plan.typeList).*target = value;
        };
        addNeeded(app, name, "NAME", take,
                  fmt::format("... its column or member for the {} (default: the usual ones)", what));
    };
    column("--designator-column", &TypeListImport::designator, "designator");
    column("--wake-column", &TypeListImport::wake, "wake category");
    column("--description-column", &TypeListImport::description, "description");
    column("--engine-column", &TypeListImport::engine, "kind of engine");
    column("--engines-column", &TypeListImport::engines, "number of engines");
}

void addAircraft(CLI::App& app, PackPlan& plan) {
    addNeeded(
        app, "--aircraft", "FILE",
        [&plan](const std::string& value) { plan.aircraft.emplace_back().file = platform::pathFrom(value); },
        "An aircraft data base; may come again, with columns of its own");
    const auto last = [&plan]() -> AircraftImport& {
        if (plan.aircraft.empty()) {
            throw std::runtime_error("belongs behind --aircraft");
        }
        return plan.aircraft.back();
    };
    const auto column = [&](const char* name, std::string AircraftImport::*target, const char* what) {
        addNeeded(
            app, name, "NAME", [last, target](const std::string& value) { last().*target = value; },
            fmt::format("... its column for {}", what));
    };
    column("--reg-column", &AircraftImport::reg, "the registration (needed)");
    column("--type-column", &AircraftImport::type, "the type designator (needed)");
    column("--operator-column", &AircraftImport::airline, "the airline's three-letter code");
    column("--operating-column", &AircraftImport::operating, "the code of the airline that really flies it");
    column("--cargo-column", &AircraftImport::cargo, "freighters, which have 1, t or y in front there");
    command_line::addFlag(
        app, "--private-when-empty", [last] { last().privateWhenEmpty = true; },
        "... without a known airline it belongs to a private owner");
}

void addAirports(CLI::App& app, PackPlan& plan) {
    addPath(app, "--ourairports", "FILE", plan.ourAirports,
            "airports.csv of OurAirports; writes airports_msfs.xml and airports_msfs_names.xml for the program's input "
            "folder");
    addPath(app, "--airports-out", "DIR", plan.airportsOut, "... where (default: the folder of --out)");
    addNeeded(
        app, "--apt", "FILE", [&plan](const std::string& value) { plan.apt.push_back(platform::pathFrom(value)); },
        "Airport layouts in the public apt.dat form, plain or gzip; writes MSFS/archive/stock/. May come again; does "
        "without --data");
    const auto list = [&](const char* name, std::filesystem::path RouteFiles::*target, const char* what) {
        const auto take = [&plan, target](const std::string& value) {
            if (!plan.routes) {
                plan.routes.emplace();
            }
            (*plan.routes).*target = platform::pathFrom(value);
        };
        addNeeded(app, name, "FILE", take, what);
    };
    list(
        "--routes", &RouteFiles::routes,
        "Air routes in the columns of OpenFlights, plain or gzip: who stands at the gates of --apt when no traffic has "
        "been learned yet. Needs --data, --airlines and --planes");
    list("--airlines", &RouteFiles::airlines, "... the airlines of that list");
    list("--planes", &RouteFiles::planes, "... and the aircraft");
    addPath(app, "--learned", "DIR", plan.learned,
            "Learned files of users, CODE.xml in any tree; adds them to the airport files of the server. Does without "
            "--data. Give all that were collected each time, since --apt begins anew");
}

std::string incomplete(const Command& command) {
    const PackPlan& plan = command.plan;
    const bool standsAlone = (!plan.apt.empty() || !plan.learned.empty()) && plan.ourAirports.empty() &&
                             plan.aircraft.empty() && !plan.typeList && !plan.routes;
    if ((command.plan.data.empty() && !standsAlone) || command.plan.out.empty()) {
        return "--data and --out are needed";
    }
    if (plan.routes && (plan.routes->routes.empty() || plan.routes->airlines.empty() || plan.routes->planes.empty() ||
                        plan.apt.empty())) {
        return "--routes, --airlines and --planes belong together, and need --apt";
    }
    for (const AircraftImport& import : command.plan.aircraft) {
        if (import.reg.empty() || import.type.empty()) {
            return fmt::format("--aircraft {} needs --reg-column and --type-column", platform::pathText(import.file));
        }
    }
    if (!command.plan.airportsOut.empty() && command.plan.ourAirports.empty()) {
        return "--airports-out needs --ourairports";
    }
    return {};
}

std::optional<command_line::Ending> readCommand(const std::vector<std::string>& arguments, Command& command) {
    CLI::App app(
        "Builds what an update server holds out of the plain sources in the data folder.\n\n"
        "Whole data bases may come in beside them. What the plain sources say wins, and the first data base over\n"
        "later ones. Commas, semicolons or tabs, quotes, any order of columns.",
        "kestrelune-pack");
    command_line::prepare(app);
    addSources(app, command);
    addTypeList(app, command.plan);
    addAircraft(app, command.plan);
    addAirports(app, command.plan);
    app.footer(
        "--data and --out are needed, --out alone with nothing but --apt and --learned. Bad rows are counted, listed "
        "and left\n"
        "out. Doubtful ones are listed and kept: airports at one place, and elevations far from those around.\n\n"
        "Exit codes: 0 written, 1 failed, 2 wrong arguments.");
    if (const auto ending = command_line::parse(app, arguments)) {
        return ending;
    }
    const std::string problem = incomplete(command);
    return problem.empty() ? std::nullopt : std::optional(command_line::wrong(app, problem));
}

std::string counted(std::size_t n, std::string_view noun) {
    return fmt::format("{} {}{}", n, noun, plural(static_cast<std::int64_t>(n)));
}

std::string badRowText(const BadRow& row) {
    return fmt::format("{}:{}: {}", row.file, row.line, row.reason);
}

void tellRows(const Command& command, const std::vector<BadRow>& rows, std::string_view noun, std::string& out) {
    if (rows.empty()) {
        return;
    }
    const std::size_t shown = std::min(command.badRowsShown, rows.size());
    out += fmt::format("{}{}\n", counted(rows.size(), noun), shown > 0 ? ":" : "");
    for (std::size_t i = 0; i < shown; ++i) {
        out += "  " + badRowText(rows[i]) + "\n";
    }
    if (shown < rows.size()) {
        out += fmt::format("  and {} more{}\n", rows.size() - shown,
                           command.badRows.empty() ? "; --bad-rows FILE keeps all of them" : "");
    }
}

void writeBadRows(const Command& command, const PackCount& count) {
    std::string text = "file,line,reason\n";
    for (const std::vector<BadRow>* rows : {&count.bad, &count.doubtful}) {
        for (const BadRow& row : *rows) {
            text += fmt::format("{},{},{}\n", csvField(row.file), row.line, csvField(row.reason));
        }
    }
    std::string reason;
    if (!platform::replaceFile(command.badRows, text, reason)) {
        throw std::runtime_error(fmt::format("cannot write {}: {}", platform::pathText(command.badRows), reason));
    }
}

void tell(const Command& command, const PackCount& count, std::string& out) {
    for (const std::string& remark : count.remarks) {
        out += "remark: " + remark + "\n";
    }
    tellRows(command, count.bad, "bad row", out);
    tellRows(command, count.doubtful, "doubtful row", out);
    if (count.overruled > 0) {
        out += fmt::format("{} of imports gave way to an earlier source\n", counted(count.overruled, "row"));
    }
    if (!command.plan.ourAirports.empty()) {
        out += fmt::format("{} left out: closed, heliports or without a code of three or four characters; {} without "
                           "an elevation put at sea level\n",
                           counted(count.airportsLeftOut, "airport"), count.airportsAtSeaLevel);
    }
    const std::string folder = platform::pathText(command.plan.out);
    if (!command.plan.apt.empty()) {
        out += fmt::format("written to {}: {} with {}; {} without a stand or in a layout before, {} without a code\n",
                           folder, counted(count.stockFiles, "stock airport file"), counted(count.stands, "stand"),
                           counted(count.airportsWithoutStands, "airport"), count.airportsWithoutCode);
    }
    if (command.plan.routes) {
        out += fmt::format("{} of {} used, {} left out as codeshares, and {} that may be one: {} at {}\n",
                           count.routesUsed, counted(count.routes, "route"), count.codeshares,
                           counted(count.unmarkedCodeshares, "service"), counted(count.softOptions, "soft option"),
                           counted(count.airportsWithOptions, "airport"));
    }
    if (!command.plan.learned.empty()) {
        out += fmt::format("{} merged: {}\n", counted(count.learnedFiles, "learned file"),
                           counted(count.learnedOptions, "option"));
    }
    if (command.plan.data.empty()) {
        return;
    }
    out += fmt::format("written to {}: {}, {}, {}, {}, {}, {} of publishers' airports, {}, {}", folder,
                       counted(count.types, "type"), counted(count.airlines, "airline"),
                       counted(count.registrations, "registration"), counted(count.similarGroups, "similar group"),
                       counted(count.publishers, "publisher"), counted(count.thirdParties, "list"),
                       counted(count.aigEntries, "regcode entrie"), counted(count.simaddonFiles, "airport file"));
    if (!command.plan.ourAirports.empty()) {
        out += ", " + counted(count.airports, "airport");
    }
    out += fmt::format("; {}\n", counted(count.bad.size(), "bad row"));
}

} // namespace

int runCommand(const std::vector<std::string>& arguments, std::string& out, std::string& error) {
    Command command;
    if (const auto ending = readCommand(arguments, command)) {
        (ending->code == command_line::good ? out : error) += ending->text;
        return ending->code;
    }
    try {
        const PackCount count = packUpdates(command.plan);
        if (!command.badRows.empty()) {
            writeBadRows(command, count);
        }
        tell(command, count, out);
    } catch (const std::exception& failure) {
        error += fmt::format("kestrelune-pack: {}\n", failure.what());
        return 1;
    }
    return 0;
}

} // namespace kes::pack
