// The operations that the logic has on the main window, and the read-outs that it shows.
// A backend is chosen at process start; without one (tests) the operations do nothing. All callable from any thread.
#pragma once

#include "core/parameters.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace kes {

/// What a backend provides. Each is called on the calling thread; a backend hands over to its UI thread itself.
struct WindowBackend {
    void (*repaint)() = nullptr;
    void (*drawMessageLine)(std::string_view text, bool isError) = nullptr; ///< called under `statusMutex`
    void (*enableControl)(std::uint16_t controlId, bool on) = nullptr;
    void (*setCheck)(std::uint16_t controlId, bool on) = nullptr;
    void (*setText)(std::uint16_t controlId, std::string_view text) = nullptr;
    void (*setTopmost)(bool on) = nullptr;
    void (*enableAll)(bool on) = nullptr;
    bool (*rectangle)(std::int32_t& left, std::int32_t& top) = nullptr; ///< false = unknown
};
void setWindowBackend(const WindowBackend& backend);

void repaint();
void drawMessageLine(std::string_view text, bool isError);
void enableControl(const Control& control, bool on);
void enableControls(bool on); ///< all boxes at once
void setCheck(const Control& control, bool on);
void setText(const Control& control, std::string_view text);
void setTopmost(bool on);
bool windowRectangle(std::int32_t& left, std::int32_t& top);

enum class Lamp : std::int32_t { off = 0, receiving = 1, silent = 2, stopped = 3 };

/// Numbers that the window shows; written by the logic, read by the paint routine.
struct Readouts {
    std::atomic<bool> simLight{false}, rtLight{false}, waiting{true}, spanMark{false}, simTimeMark{false};
    std::atomic<Lamp> weatherLamp{Lamp::stopped}, trafficLamp{Lamp::stopped};
    std::atomic<std::int32_t> liveries{-1}; ///< -1 = scan running, shown as "..."
    std::atomic<std::int32_t> simaddonFiles{-1}, thirdpartyFiles{-1};
    std::atomic<std::int32_t> live{0}, parkedLive{0}, parkedStatic{0}, stands{0}, updates{0};
    std::atomic<std::int32_t> qnh{0}, minutesToRenewal{-1};
    std::atomic<float> simFrameRate{0};           ///< frames per second, stored at every 30th frame event; 0 = none yet
    std::atomic<std::uint32_t> selectedObject{0}; ///< object shown beside the callsign look-up, 0 = none
};
extern Readouts readouts;

/// Texts that the window shows, each under a fixed key; copied in and out under a lock of their own.
enum class Readout {
    simName,
    edition,
    userTitle,
    userModel,
    userStand,
    reservedStand,
    quality,
    destination,
    foundObject
};
void setReadout(Readout which, std::string_view text);
std::string readoutText(Readout which);

/// Requests of the user that the main tick reads on its beats.
struct WindowRequests {
    std::atomic<bool> reRead{false}, flushStatic{false}, findCallsign{false}, blockNow{false}, parkAdjust{false},
        clearNoMatch{false}, maxLive{false}; ///< maxLive: MAX_LIVE was changed
    /// Another install path or simulator was chosen: a run that waits for its error to be read starts again with it.
    std::atomic<bool> newSettings{false};
};
extern WindowRequests windowRequests;

/// Start values of read-outs and requests for a new run.
void resetWindow();

} // namespace kes
