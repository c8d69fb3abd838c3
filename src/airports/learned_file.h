// SPDX-License-Identifier: MIT
// The learned file of an airport: what it adds to a stand list, and the settings of the airport. Worker only.
#pragma once

#include "airports/stands.h"

#include <filesystem>
#include <pugixml.hpp>
#include <string_view>
#include <vector>

namespace kes {

/// What the settings of an airport need from above.
struct LearnedFileHooks {
    /// AUTO_RANGE has come to stand so: the range and its boxes follow.
    void (*autoRangeSwitched)(bool on) = nullptr;
};
extern LearnedFileHooks learnedFileHooks;

/// Takes the settings of a learned file, and puts its options and stands on top of the base list, or in its place when
/// it is handmade. A file that cannot be read leaves the list as it is, and is kept aside under its name with a '0' in
/// front of the extension; so is one of which something would get lost at the next save. Never throws.
void lf_readLearned(const std::filesystem::path& path, std::string_view airportName, std::vector<Stand>& list,
                    bool& handmade);

/// Puts the options and stands of a learned file that is not handmade on top of a list, and corrects radius and cargo
/// flag of its stands. `shown` names the file in the log. False when something of it has no place in the list.
bool mergeLearned(const pugi::xml_document& document, std::string_view shown, std::vector<Stand>& list);

} // namespace kes
