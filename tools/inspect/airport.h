// SPDX-License-Identifier: MIT
// Looks at the file of one airport from the shell: both layers, what the program makes of them, and a drawing.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace kes::inspect {

struct AirportQuery {
    std::string airport;           ///< an airport file, a scenery file, or an airport code
    std::filesystem::path program; ///< the program folder in which a code is looked for, and which knows airports
    std::filesystem::path
        learned;               ///< the learned file on top; empty = the program folder's for a code, none for a file
    std::filesystem::path log; ///< gets what the program would log; empty = nothing
};

/// What was read, with all warnings. "error" tells why the program would not use the airport. Works on copies in the
/// current folder, a `WorkFolder`, so that nothing is changed. Throws std::runtime_error when there is no such airport.
nlohmann::ordered_json inspectAirport(const AirportQuery& query);

/// A page that draws the stands of `inspectAirport`, with who stands there at a day (1 to 7) and half-hour (0 to 47) to
/// begin with.
std::string airportPage(const nlohmann::ordered_json& airport, int day, int halfHour);

} // namespace kes::inspect
