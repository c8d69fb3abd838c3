// SPDX-License-Identifier: MIT
#include "world/content/content.h"

#include "platform/system.h"
#include "world/content/ai_package.h"
#include "world/content/program_folder.h"
#include "world/content/scenario_airport.h"
#include "world/content/tables.h"

#include <fmt/format.h>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace kes::world {

namespace fs = std::filesystem;

ContentCount makeContent(const ContentPlan& wanted) {
    ContentPlan plan = wanted;
    if (plan.programFolder.empty()) {
        throw std::runtime_error("no program folder is given");
    }
    if (!plan.community.empty()) {
        plan.community = fs::absolute(plan.community).lexically_normal();
        if (!plan.community.has_filename()) { // there was a separator at the end
            plan.community = plan.community.parent_path();
        }
    }
    if (!plan.community.empty() && plan.community.filename() != "Community") {
        throw std::runtime_error(fmt::format("{}: the simulator looks for a folder of the name \"Community\"",
                                             platform::pathText(plan.community)));
    }
    const Tables tables = readTables(plan.data);
    ContentCount count;
    count.types = tables.types.size();
    count.airlines = tables.airlines.size();
    count.registrations = tables.registrations.size();
    count.airports = tables.airports.size();
    writeUpdates(plan);
    writeProgramFolder(tables, plan);
    if (!plan.community.empty()) {
        const std::vector<AiLivery> liveries = planLiveries(tables);
        writePackage(tables, liveries, plan.community);
        std::set<std::string_view> models;
        for (const AiLivery& livery : liveries) {
            models.insert(livery.type);
        }
        if (plan.scenarioAirport)
            writeScenarioAirport(plan, tables, liveries);
        count.models = models.size();
        count.liveries = liveries.size();
    }
    if (!plan.appData.empty()) {
        writeAppData(plan);
    }
    return count;
}

} // namespace kes::world
