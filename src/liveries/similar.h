// SPDX-License-Identifier: MIT
// The tables of similar models. Only for the store.
#pragma once

#include "liveries/store.h"

namespace kes {

/// Fills `similarInstalled` and `similarByAirline` from the groups of the reference data and the other tables.
void buildSimilarTables(LiveryTables& tables);

} // namespace kes
