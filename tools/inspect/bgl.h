// Looks at compiled scenery from the shell: what the reader of the add-on scan takes from each file.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace kes::inspect {

/// Per file: the quick test, the type of the first record, the airports in file order with their stands, identifiers
/// that were passed over, what the reader told, and why it gave up. Headings in degrees, 0 is 360; radii in metres.
nlohmann::ordered_json inspectBgl(const std::vector<std::string>& files, bool msfs2024);

} // namespace kes::inspect
