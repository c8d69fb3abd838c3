// SPDX-License-Identifier: MIT
// The "aircraft.cfg" files of the other family of AI packages, whose model and airline stand in paths and titles.
#pragma once

#include "liveries/aircraft_cfg.h"

namespace kes {

/// Whether the path holds a name of the family's packages, "IVAO_MTL" or "ivao_x-csl", in just this case.
bool isIvaoPath(std::string_view path);
/// The task for such a file, with `result.ivao` set; throws only what the standard library throws.
void lf_searchLiveriesinIvaoFile(const CfgRules& rules, const CfgSource& source, CfgJudgement& result);

} // namespace kes
