// SPDX-License-Identifier: MIT
// What is wrong with the sources as a whole although each row is well formed: such rows are written, but somebody
// should look at them again.
#pragma once

#include "tools/pack/sources.h"

namespace kes::pack {

/// Types that lose their family, registrations that contradict their neighbours, names of airlines that stand under
/// several codes. Pure.
std::vector<BadRow> doubtsOf(const Sources& sources);

} // namespace kes::pack
