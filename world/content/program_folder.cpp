// SPDX-License-Identifier: MIT
#include "world/content/program_folder.h"

#include "core/folders.h"
#include "core/version.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "tools/csv/csv.h"
#include "tools/pack/document.h"
#include "tools/pack/pack.h"
#include "world/content/files.h"

#include <fmt/format.h>
#include <stdexcept>

namespace kes::world {
namespace {

namespace fs = std::filesystem;

/// The manual lies beside the data folder in a source tree; a folder without it gets a page of its own.
void writeDocs(const fs::path& data, const fs::path& target) {
    makeFolder(target);
    writeFile(target / "README.txt", fmt::format("{} {}\nThis folder shows the program that it runs from its own "
                                                 "folder.\n",
                                                 programName, programVersionText));
    const fs::path source = fs::absolute(data).lexically_normal().parent_path() / "docs";
    std::error_code error;
    for (fs::recursive_directory_iterator walk(source, error), end; !error && walk != end; walk.increment(error)) {
        if (walk->is_regular_file()) {
            if (const auto bytes = readBytes(walk->path())) {
                writeFile(target / walk->path().lexically_relative(source), *bytes);
            }
        }
    }
}

void addParameter(pugi::xml_node parameters, const char* name, const std::string& value) {
    pugi::xml_node node = parameters.append_child("parameter");
    node.append_attribute("name") = name;
    node.append_attribute("value") = value.c_str();
}

} // namespace

void writeUpdates(const ContentPlan& plan) {
    pack::PackPlan updates;
    updates.data = plan.data;
    updates.out = plan.programFolder / "updates";
    const pack::PackCount count = pack::packUpdates(updates);
    if (!count.bad.empty()) { // the sources are our own
        const pack::BadRow& row = count.bad[0];
        throw std::runtime_error(fmt::format("{}:{}: {}", row.file, row.line, row.reason));
    }
}

void writeProgramFolder(const Tables& tables, const ContentPlan& plan) {
    const fs::path& folder = plan.programFolder;
    writeDocs(plan.data, folder / path::docs);
    writeFile(folder / path::airportsMsfs, pack::airportTable(tables.airports));
    writeFile(folder / path::airportsMsfsNames, pack::airportNames(tables.airports));
    if (!fs::exists(folder / path::updateServer)) { // the user may have named another
        writeFile(folder / path::updateServer, "updates\n");
    }
}

void writeAppData(const ContentPlan& plan) {
    const fs::path mark = plan.appData / "InsideSystems" / "RealTraffic.jar";
    if (!fs::exists(mark)) { // never touch the real thing
        writeFile(mark, "");
    }
    const fs::path file = plan.appData / programName / "parameters.xml";
    if (fs::exists(file)) {
        return;
    }
    pugi::xml_document document;
    appendMeta(document);
    document.child("meta").find_child_by_attribute("info", "name", "MSFS").attribute("value") =
        plan.msfs2020 ? "2020" : "2024";
    pugi::xml_node parameters = document.append_child("parameters");
    addParameter(parameters, "MSFS_2020", plan.msfs2020 ? "true" : "false");
    if (!plan.community.empty()) {
        const std::string parent = platform::pathText(plan.community.parent_path());
        addParameter(parameters, plan.msfs2020 ? "MSFS_INSTALL_PATH" : "MSFS_2024_INSTALL_PATH", parent);
    }
    writeXml(file, document);
}

} // namespace kes::world
