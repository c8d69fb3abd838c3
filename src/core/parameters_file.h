// SPDX-License-Identifier: MIT
// The parameters in their file: read once at the start of a run, written one by one. What stands below those two is for
// the tests and the fuzz target.
#pragma once

#include "core/parameters.h"

#include <pugixml.hpp>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kes {

/// Reads the file, or builds it from the defaults; logs every value. Worker. No failure stops the program:
/// a file that cannot be used is kept aside under a name that the log tells, and the defaults hold.
void readParameters();

/// Writes the present value of one parameter into the file and logs "{}={}". For core/change.h, which see.
/// A failed save is logged; the value stays in effect.
void save(const BoolParameter& parameter);
void save(const IntParameter& parameter);
void save(const TextParameter& parameter);

/// One parameter that has a place in the file, and its box when it has one.
struct StoredParameter {
    std::variant<BoolParameter*, IntParameter*, TextParameter*> value;
    const Control* control = nullptr;

    // Texts as the file has them: "true" or "false" for a box.
    std::string_view name() const;
    std::string defaultText() const;
    std::string valueText() const;
};

/// All stored parameters in the order of the file.
std::span<const StoredParameter> storedParameters();
/// The default value, in memory only.
void takeDefault(const StoredParameter& parameter);

/// Builds the tree from the content of a parameter file. False, with the reason, when it is no such file.
bool parseParameters(std::string_view content, pugi::xml_document& document, std::string& reason);

/// What has to wait until the file is let go, since it takes locks of its own.
struct TakenLater {
    std::vector<std::pair<TextParameter*, std::string>> texts; ///< read but not yet set
    std::vector<std::string> doubts; ///< for the user: what stands in the file and was not taken as it stands
};
/// Takes the values from a parsed file and logs them; adds to the tree what is missing, removes empty lfolders.
/// True when the tree was changed and has to be saved.
bool takeParameters(pugi::xml_document& document, TakenLater& later);

} // namespace kes
