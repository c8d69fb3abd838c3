// Shared between the files of this folder only.
#pragma once

#include "core/parameters.h"

#include <cstdint>

namespace kes {

/// LATERAL_RANGE at the start of the run, or at the last switch of AUTO_RANGE: where switching it off leads back to.
extern std::int32_t rememberedRange;

/// The parameter of the simulator that MSFS_2020 selects.
TextParameter& selectedInstallPath();

} // namespace kes
