// SPDX-License-Identifier: MIT
// A program folder made by the content builder from the project's own data, with the tables still empty.
#pragma once

#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/static_parking.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "files.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "world/content/content.h"

namespace kes::test {

inline std::filesystem::path dataFolder() {
    return std::filesystem::path(KES_SOURCE_DIR) / "data";
}

/// A program folder in which all tables of the process are empty.
struct EmptyFolder : ProgramFolder {
    EmptyFolder() {
        setParameterDefaults();
        resetRunFlags();
        resetUserAircraft();
        resetLiveries();
        resetAirportTable();
        resetParking();
        resetWindow();
        std::filesystem::create_directories("input");
        createFolders();
        par::MSFS_INSTALL_PATH.set((folder / "sim").string());
    }
    ~EmptyFolder() {
        resetRunFlags();
        resetLiveries();
        resetAirportTable();
        resetParking();
    }
    std::filesystem::path community() const { return folder / "sim" / "Community"; }
};

struct ContentFolder : EmptyFolder {
    ContentFolder() {
        plan.data = dataFolder();
        plan.programFolder = folder;
        plan.community = community();
        plan.appData = folder / "appdata";
        count = world::makeContent(plan);
    }
    world::ContentPlan plan;
    world::ContentCount count;
};

} // namespace kes::test
