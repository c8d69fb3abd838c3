// The texts that never change of the page that shows a replay: its look, and its program in the order it is put in.
#pragma once

#include <string_view>

namespace kes::replay {

extern const std::string_view mapPageHead; ///< up to the place of the data
extern const std::string_view mapPageBody; ///< from behind the data up to the begin of the program

extern const std::string_view mapScriptData;     ///< unpacks the data, and answers where an aircraft was
extern const std::string_view mapScriptMap;      ///< the view, and the drawing of the map
extern const std::string_view mapScriptProfile;  ///< altitude and speed over time
extern const std::string_view mapScriptControls; ///< list, time, pointer, keys and address, and the begin of it all

} // namespace kes::replay
