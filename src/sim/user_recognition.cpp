// What the user flies, as far as the simulator tells it. This first form takes the model text as it is.
#include "core/log.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "reference/reference.h"
#include "sim/sim_internal.h"

#include <fmt/format.h>

namespace kes {

namespace {
std::string userTitle; // SimClient thread
}

void onUserTitle(std::string_view title) {
    const std::string shown(title.substr(0, 48));
    if (shown != userTitle) {
        setReadout(Readout::userTitle, shown);
        repaint();
    }
    userTitle = shown;
    logIndented(fmt::format("SimConnect: User aircraft title: {}", title));
    if (title.empty())
        log("! title of your ac is empty?");
}

void onUserModel(std::string_view model) {
    logIndented(fmt::format("SimConnect: User aircraft model: {}", model));
    setReadout(Readout::userModel, model);
    userSpan = modelExists(model) ? wingspanOf(model) : maxWingspan();
    userSpanKnown = true;
    readouts.spanMark = true;
    repaint();
}

void resetUserRecognition() {
    userTitle.clear();
}

} // namespace kes
