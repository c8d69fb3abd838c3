// kestrelune-inspect: what installed packages give, and which livery an aircraft gets.
#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/scan_reports.h"
#include "liveries/store.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "tools/inspect/inspect.h"

#include <charconv>
#include <cstdio>
#include <fmt/format.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using namespace kes;

constexpr std::string_view help =
    R"(kestrelune-inspect liveries [options] FOLDER...
    Reads every aircraft.cfg below the folders, as a scan does, and writes JSON: per file its liveries, per file and section
    why it gives none, and totals. Ends with 1 when one of the folders is not there.
      --keep-stubs         do not leave out titles that end in -STUB

kestrelune-inspect match [options] --liveries LiveriesScanned.xml < lines
    For each line "AIRLINE MODEL REG [cargo]" ('-' = not known) writes a line with the step that found a livery (0 = none), the
    title, and the reason, separated by tabs. As in the traffic, what the data base knows of REG goes before the line, and an
    aircraft without an airline is a private owner's.
      --liveries FILE      the list that a scan wrote to the output folder
      --depth N            how far the search goes, 1 to 4 (4)
      --random             choose among several liveries by chance (the first one)

Both:
      --updates FOLDER     where dbase.zip and AIG-regcodes.zip lie: a folder or a URL (updates)
      --document FILE      read this reference document instead of dbase.zip
      --regcodes FOLDER    a folder of regcode files, as my_regcodes
      --log FILE           write what the program would log
)";

struct Arguments {
    std::string command, updates = "updates", document, regcodes, logFile, liveries;
    std::vector<fs::path> folders;
    int depth = 4;
    bool keepStubs = false, random = false;
};

[[noreturn]] void wrong(const std::string& what) {
    std::cerr << "kestrelune-inspect: " << what << " (see --help)\n";
    std::exit(2);
}

Arguments parse(int argc, char** argv) {
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&] {
            if (++i == argc)
                wrong(word + " wants a value");
            return std::string(argv[i]);
        };
        if (word == "--help" || word == "-h") {
            std::cout << help;
            std::exit(0);
        } else if (word == "--updates") {
            arguments.updates = value();
        } else if (word == "--document") {
            arguments.document = value();
        } else if (word == "--regcodes") {
            arguments.regcodes = value();
        } else if (word == "--log") {
            arguments.logFile = value();
        } else if (word == "--liveries") {
            arguments.liveries = value();
        } else if (word == "--keep-stubs") {
            arguments.keepStubs = true;
        } else if (word == "--random") {
            arguments.random = true;
        } else if (word == "--depth") {
            const std::string text = value();
            if (text.size() != 1 || text[0] < '1' || text[0] > '4')
                wrong("--depth wants a number from 1 to 4");
            arguments.depth = text[0] - '0';
        } else if (word.starts_with("--")) {
            wrong("unknown option " + word);
        } else if (arguments.command.empty()) {
            arguments.command = word;
        } else {
            arguments.folders.push_back(fs::absolute(platform::pathFrom(word)));
        }
    }
    if (arguments.command != "liveries" && arguments.command != "match")
        wrong("say liveries or match");
    if (arguments.command == "liveries" && arguments.folders.empty())
        wrong("no folder is given");
    if (arguments.command == "match" && (arguments.liveries.empty() || !arguments.folders.empty()))
        wrong("match wants --liveries FILE and reads its lines from the standard input");
    for (std::string* file : {&arguments.document, &arguments.regcodes, &arguments.logFile, &arguments.liveries}) {
        if (!file->empty())
            *file = platform::pathText(fs::absolute(platform::pathFrom(*file)));
    }
    return arguments;
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

int run(const Arguments& arguments) {
    const inspect::WorkFolder work(arguments.updates);
    if (!arguments.logFile.empty())
        openLog(platform::pathFrom(arguments.logFile));
    setParameterDefaults();
    if (!arguments.regcodes.empty())
        fs::copy(platform::pathFrom(arguments.regcodes), path::myRegcodes);
    if (arguments.document.empty())
        readDataBase();
    else
        readReferenceDocument(platform::pathFrom(arguments.document));
    int code = 0;
    if (arguments.command == "match") {
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
    const Arguments arguments = parse(argc, argv);
    try {
        return run(arguments);
    } catch (const std::exception& e) {
        std::cerr << "kestrelune-inspect: " << e.what() << '\n';
        return 1;
    }
}
