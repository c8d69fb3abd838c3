#include "tools/pack/command.h"

#include "core/text.h"
#include "platform/system.h"
#include "tools/pack/csv.h"

#include <array>
#include <charconv>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <stdexcept>

namespace kes::pack {
namespace {

constexpr std::string_view usage =
    "kestrelune-pack --data DIR --out DIR [options]\n"
    "Builds what an update server holds out of the plain sources in the data folder.\n\n"
    "  --data DIR                the plain sources; types.csv, airlines.csv, cargo_types.csv,\n"
    "                            cargo_operators.csv and simaddons20.csv are needed\n"
    "  --out DIR                 gets dbase.zip, AIG-regcodes.zip, release/version.json and, when\n"
    "                            the data folder has my_simaddon/*.txt, mysimaddon24/\n"
    "  --simaddon-version A.B.C  version of that package (default: my_simaddon/version.csv)\n"
    "  --program-version A.B.C   version of the program that release/ offers (default: this one)\n\n"
    "Whole data bases. What the plain sources say wins over them, and the first over later ones.\n"
    "Commas, semicolons or tabs, quotes, any order of columns.\n\n"
    "  --type-list FILE          ICAO type designators, a list with columns or a JSON array\n"
    "    --designator-column NAME, --wake-column NAME, --description-column NAME,\n"
    "    --engine-column NAME, --engines-column NAME\n"
    "                            names of columns or members (default: the usual ones)\n"
    "  --aircraft FILE           an aircraft data base; may come again, with columns of its own\n"
    "    --reg-column NAME       registration (needed)\n"
    "    --type-column NAME      type designator (needed)\n"
    "    --operator-column NAME  three-letter code of the airline\n"
    "    --operating-column NAME the same for the airline that really flies it\n"
    "    --cargo-column NAME     freighters have 1, t or y in front\n"
    "    --private-when-empty    without a known airline it belongs to a private owner\n"
    "  --ourairports FILE        airports.csv of OurAirports; writes airports_msfs.xml and\n"
    "                            airports_msfs_names.xml for the program's input folder\n"
    "    --airports-out DIR      where (default: the folder of --out)\n\n"
    "Bad rows are counted, listed and left out. Doubtful ones are listed and kept: airports at\n"
    "one place, and elevations far from those around.\n\n"
    "  --bad-rows FILE           gets all of them (columns file, line, reason)\n"
    "  --show-bad N              how many are listed here (default 20)\n"
    "  --help                    this text\n\n"
    "Exit codes: 0 written, 1 failed, 2 wrong arguments.\n";

/// Sets what an option stands for, or tells why not.
using Setter = std::function<std::string(const std::string& value)>;

struct Parser {
    Command command;

    AircraftImport* aircraft() { return command.plan.aircraft.empty() ? nullptr : &command.plan.aircraft.back(); }

    Setter path(std::filesystem::path& target) {
        return [&target](const std::string& value) {
            target = platform::pathFrom(value);
            return std::string();
        };
    }
    Setter text(std::string& target) {
        return [&target](const std::string& value) {
            target = value;
            return std::string();
        };
    }
    Setter aircraftColumn(std::string AircraftImport::*column) {
        return [this, column](const std::string& value) -> std::string {
            if (!aircraft()) {
                return "belongs behind --aircraft";
            }
            aircraft()->*column = value;
            return {};
        };
    }
    Setter typeColumn(std::string TypeListImport::*column) {
        return [this, column](const std::string& value) -> std::string {
            if (!command.plan.typeList) {
                return "belongs behind --type-list";
            }
            (*command.plan.typeList).*column = value;
            return {};
        };
    }

    /// Null for an option that is not known.
    Setter setterOf(std::string_view option) {
        struct Known {
            std::string_view name;
            Setter set;
        };
        PackPlan& plan = command.plan;
        const std::array<Known, 20> all{{
            {"--data", path(plan.data)},
            {"--out", path(plan.out)},
            {"--simaddon-version", text(plan.simaddonVersion)},
            {"--program-version", text(plan.programVersion)},
            {"--ourairports", path(plan.ourAirports)},
            {"--airports-out", path(plan.airportsOut)},
            {"--bad-rows", path(command.badRows)},
            {"--show-bad",
             [this](const std::string& value) -> std::string {
                 const char* const end = value.data() + value.size();
                 const auto [stop, error] = std::from_chars(value.data(), end, command.badRowsShown);
                 return error == std::errc() && stop == end ? "" : "needs a number";
             }},
            {"--aircraft",
             [&plan](const std::string& value) {
                 plan.aircraft.emplace_back().file = platform::pathFrom(value);
                 return std::string();
             }},
            {"--reg-column", aircraftColumn(&AircraftImport::reg)},
            {"--type-column", aircraftColumn(&AircraftImport::type)},
            {"--operator-column", aircraftColumn(&AircraftImport::airline)},
            {"--operating-column", aircraftColumn(&AircraftImport::operating)},
            {"--cargo-column", aircraftColumn(&AircraftImport::cargo)},
            {"--type-list",
             [&plan](const std::string& value) {
                 plan.typeList.emplace().file = platform::pathFrom(value);
                 return std::string();
             }},
            {"--designator-column", typeColumn(&TypeListImport::designator)},
            {"--wake-column", typeColumn(&TypeListImport::wake)},
            {"--description-column", typeColumn(&TypeListImport::description)},
            {"--engine-column", typeColumn(&TypeListImport::engine)},
            {"--engines-column", typeColumn(&TypeListImport::engines)},
        }};
        for (const Known& known : all) {
            if (known.name == option) {
                return known.set;
            }
        }
        return nullptr;
    }
};

std::string incomplete(const Command& command) {
    if (command.plan.data.empty() || command.plan.out.empty()) {
        return "--data and --out are needed";
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

std::optional<Command> parseCommand(const std::vector<std::string>& arguments, std::string& problem) {
    Parser parser;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        if (option == "--help" || option == "-h") {
            parser.command.help = true;
            return parser.command;
        }
        if (option == "--private-when-empty") {
            if (!parser.aircraft()) {
                problem = option + " belongs behind --aircraft";
                return std::nullopt;
            }
            parser.aircraft()->privateWhenEmpty = true;
            continue;
        }
        const Setter set = parser.setterOf(option);
        if (!set) {
            problem = "unknown option " + option;
            return std::nullopt;
        }
        if (i + 1 >= arguments.size() || arguments[i + 1].empty() || arguments[i + 1].starts_with("--")) {
            problem = option + " needs a value";
            return std::nullopt;
        }
        const std::string fault = set(arguments[++i]);
        if (!fault.empty()) {
            problem = option + " " + fault;
            return std::nullopt;
        }
    }
    problem = incomplete(parser.command);
    if (!problem.empty()) {
        return std::nullopt;
    }
    return parser.command;
}

int runCommand(const std::vector<std::string>& arguments, std::string& out, std::string& error) {
    std::string problem;
    const auto command = parseCommand(arguments, problem);
    if (!command) {
        error += fmt::format("kestrelune-pack: {}\n\n{}", problem, usage);
        return 2;
    }
    if (command->help) {
        out += usage;
        return 0;
    }
    try {
        const PackCount count = packUpdates(command->plan);
        if (!command->badRows.empty()) {
            writeBadRows(*command, count);
        }
        tell(*command, count, out);
    } catch (const std::exception& failure) {
        error += fmt::format("kestrelune-pack: {}\n", failure.what());
        return 1;
    }
    return 0;
}

} // namespace kes::pack
