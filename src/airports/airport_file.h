// SPDX-License-Identifier: MIT
// The file of one airport: the record, and the load of the park airport's stand list from its base file and what was
// learned on top of it. Worker only.
#pragma once

#include "airports/stands.h"
#include "core/geo.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct AirportFile {
    std::string icao;                        ///< airport code, the file's stem
    std::string airport_name;                ///< from `airportNames` or the file
    std::string BGLpath;                     ///< of a scan result: the scenery file
    std::string publisher;                   ///< "stock", "simaddon", the name of an add-on publisher, or "unknown"
    std::string manufacturer, creator;       ///< of the package
    std::string title;                       ///< of the package; never written
    std::int32_t Qf_real = -1, Qf_soft = -1; ///< quality; -1 = no value
    std::int32_t altitude = 0;               ///< of the field, feet
    std::vector<Stand> standList;            ///< in file order; of the park airport they are `stands`
};

/// What is loaded of the park airport, besides `stands`. Filled by `gf_readApf`, cleared by `forgetAirportFile`.
extern AirportFile parkAirportFile;
extern QualityPair qualityPair;
extern bool handmadeAirport;            ///< the learned file has replaced the base
extern bool saveParamChanged;           ///< a setting of the airport was changed since the last load or save
extern std::atomic<bool> airportLoaded; ///< read by the window thread, too
/// All of these, `stands`, and what the window shows of them, back to nothing.
void forgetAirportFile();

/// Loads the stand list of the current park airport (`airportRef`): the base from `path`, a place that `airportSource`
/// told, and the learned file on top. Sets the elevation of `airportRef`, `handmadeAirport`, `airportLoaded`, settings
/// of the airport, and what the window shows. Empty on success, else what the user is to be told; the lists may be
/// filled in part then. Throws nwk::UserErrorException 65 without an altitude, 94 when two stands of the base have one
/// id, and filesystem_error "exists".
std::string gf_readApf(const std::string& path, AirportFile& file, QualityPair& quality, std::vector<Stand>& list);

/// Writes a scan's result (`generated`) or a learned file, which also carries the settings of the airport; a handmade
/// one when `handmadeAirport` says so. The old file stays whole until the new one is complete. False, and logged, on
/// failure.
bool writeAirportFile(const AirportFile& file, const std::filesystem::path& path, bool generated);

/// Distance from a position to the closest stand of an airport in nautical miles, and that stand's id; 100.0 and an
/// empty id when it cannot be told. Never throws.
double gf_readDestApfForClosestStand(std::string_view code, LatLon position, std::string& standId);

} // namespace kes
