// SPDX-License-Identifier: MIT
// The page that draws an airport, cut at the place of its data. Made from page/ at build time.
#pragma once

#include <string_view>

namespace kes::inspect {

extern const std::string_view airportPageHead, airportPageTail;

} // namespace kes::inspect
