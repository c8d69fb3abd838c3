// SPDX-License-Identifier: MIT
// The airport files of the update server: out of layouts, with soft options out of routes, and with what was learned.
#pragma once

#include "tools/pack/learned_merge.h"
#include "tools/pack/pack.h"
#include "tools/pack/routes.h"
#include "tools/pack/timetable.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace kes::pack {

/// What comes on top of the bare stands.
struct StandLayers {
    std::optional<RouteList> routes;
    std::optional<TypeSizes> sizes; ///< needed with `routes`
    LearnedFiles learned;
};

/// Writes `MSFS/archive/stock/<code>.xml` below `out` for every airport of the layouts that has a stand; of one that is
/// in several, the first counts. Then the other airport files there that something was learned for. Each is replaced in
/// one step, and not touched when it is right already. Throws std::runtime_error. The reference data must be loaded for
/// learned files that tell an airline by a registration only.
void packStands(const std::vector<std::filesystem::path>& layouts, const std::filesystem::path& out,
                const StandLayers& layers, PackCount& count);

} // namespace kes::pack
