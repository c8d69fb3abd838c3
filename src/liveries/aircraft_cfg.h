// What one "aircraft.cfg" says about the liveries of its model. Pure functions, any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// One [fltsim.n] section, values without quotes and comments; a key that stands twice counts once.
struct CfgSection {
    std::string title, airline, atcId, parkingTypes;
    bool hasAirline = false; ///< the key "icao_airline" is there, even with an empty value
};

struct AircraftCfg {
    std::string typeDesignator; ///< first "icao_type_designator" with a value, as written
    std::vector<CfgSection> sections;
};

/// Bytes of a file as UTF-8 text: UTF-16 with a mark is converted, a UTF-8 mark dropped, all else left alone.
/// Throws win32::Utf8ConversionException for broken UTF-16.
std::string decodeCfg(std::string_view bytes);
AircraftCfg parseAircraftCfg(std::string_view text);

} // namespace kes
