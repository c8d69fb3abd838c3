// SPDX-License-Identifier: MIT
// The XML of an airport file, element by element. Nothing in here knows of the park airport. Worker only.
#pragma once

#include "airports/airport_file.h"
#include "airports/stands.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// More than ten times what the greatest airports have. A list of more is damage, and its neighbours would take
/// minutes.
inline constexpr std::size_t mostStands = 5000;
/// Metres; a radius beyond is damage.
inline constexpr double greatestRadius = 500.0;

/// True when the text begins with '1', 'T', 't', 'Y' or 'y'.
bool isTrue(std::string_view text);

/// The value of a `parameter` element; nothing when there is none.
std::optional<std::string_view> parameterText(const pugi::xml_document& document, const char* name);
/// The number that it begins with; nothing without one.
std::optional<std::int32_t> parameterInt(const pugi::xml_document& document, const char* name);

/// The decimal number that an attribute begins with, whatever the locale; 0 without a finite one.
double numberOf(pugi::xml_attribute attribute);
/// The radius of a `parkpos` in nautical miles. One below 0 or beyond `greatestRadius` is logged and taken as 0.
double radiusOf(pugi::xml_node parkpos);

/// One `opt` element; `optIndex` is the caller's.
ParkPosOption readOption(pugi::xml_node opt, std::int32_t fromArchive);
/// One `parkpos` element with its options. Nothing when its position is 0, 0; nothing, and logged, when it is none.
std::optional<Stand> readStand(pugi::xml_node parkpos, std::int32_t fromArchive);
/// Appends all stands of a document. Throws nwk::UserErrorException 94 when two have one id, std::length_error for more
/// than `mostStands`.
void readStands(const pugi::xml_document& document, std::int32_t fromArchive, std::vector<Stand>& list);

/// What a base file tells: its fields, quality and week of the traffic data (0 = none) and its stands. Throws
/// nwk::UserErrorException 65 without an altitude, and as `readStands`.
void readBase(const pugi::xml_document& document, AirportFile& file, std::int32_t& trafficWeek,
              std::vector<Stand>& list);

/// Appends the `parkpositions` element. `whole`: every stand in full; else only `manual` ones, and of the others what
/// was learned.
void appendStands(pugi::xml_document& document, const std::vector<Stand>& list, bool whole, bool withOptions);

} // namespace kes
