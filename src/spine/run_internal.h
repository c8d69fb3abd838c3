// Shared between the files of this folder only.
#pragma once

#include <cstdint>

namespace kes {

/// LATERAL_RANGE at the start of the run, or at the last switch of AUTO_RANGE: where switching it off leads back to.
extern std::int32_t rememberedRange;

} // namespace kes
