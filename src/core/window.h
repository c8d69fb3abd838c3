// SPDX-License-Identifier: MIT
// The seam between the logic and the main window: the operations that the logic has on the window, the read-outs that
// it shows, and what a backend has to provide. What the user does to a control comes back through
// core/control_changes.h. Without a backend (tests) the operations do nothing. All callable from any thread.
#pragma once

#include "core/parameters.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace kes {

/// What a backend provides; a null member does nothing. The process entry chooses one with `setWindowBackend` before it
/// starts a thread that uses the window, and keeps it to the end of the process.
///
/// The main thread calls `open` and then `run`, once each, and is the UI thread. `post`, `quit` and the operations come
/// from any thread, also before `open` (what is shown then may be lost, what is posted must not be) and while `run`
/// ends. A backend whose toolkit is bound to one thread hands them over to it in the order of the calls, and never
/// makes the caller wait for the UI thread: the caller may be the tick, and may hold `statusMutex`. For the same reason
/// they call nothing of the logic but `readouts` and `readoutText`.
///
/// On the UI thread a backend in turn calls `closeClicked` of its `run`, and `controlChanged`. All boxes begin disabled
/// and are enabled by `enableAll`; their values come by `setCheck` and `setText`. A tick or a text that the user
/// changes stays as he left it until one of these comes.
struct WindowBackend {
    /// Makes the window; threads may be started from now on. Throws what tells the reason when there can be none.
    void (*open)() = nullptr;
    /// Does what `post` hands over, and what the user asks for, until `quit`; returns the code given there. By then
    /// everything that was to be shown is shown, or given up after half a second.
    /// `closeClicked` is to be called at each click on the close button; the window stays up then.
    int (*run)(void (*closeClicked)()) = nullptr;
    /// Calls `work` on the UI thread, once and soon; in the order of the calls. What is still waiting at `quit` is
    /// lost.
    void (*post)(void (*work)()) = nullptr;
    /// Lets `run` come to its end after the work posted so far.
    void (*quit)(int code) = nullptr;

    void (*repaint)() = nullptr; ///< many times a second: read-outs have changed, they are read when they are drawn
    /// The line for status or error; an empty text clears it. `advice` is what the user can do about it, mostly empty;
    /// it goes with the text. Called under `statusMutex`.
    void (*drawMessageLine)(std::string_view text, bool isError, std::string_view advice) = nullptr;
    void (*enableControl)(std::uint16_t controlId, bool on) = nullptr;
    void (*setCheck)(std::uint16_t controlId, bool on) = nullptr;              ///< is no change by the user
    void (*setText)(std::uint16_t controlId, std::string_view text) = nullptr; ///< UTF-8; likewise
    void (*setTopmost)(bool on) = nullptr;
    void (*enableAll)(bool on) = nullptr;
    /// Where the window's frame is, in screen pixels; false = unknown. Only from the UI thread.
    bool (*rectangle)(std::int32_t& left, std::int32_t& top) = nullptr;
};
/// Once, before another thread uses the window; tests set one anew between their runs. Null members take it away.
void setWindowBackend(const WindowBackend& backend);

// The operations: each calls the member of its name, or does nothing without one. A control that is not on the window
// (`controlId` 0) is passed over.
void openWindow(); ///< UI thread; throws what the member throws
/// UI thread. 0 at once without a backend.
int runWindow(void (*closeClicked)());
void postToWindow(void (*work)());
void quitWindow(int code);

void repaint();
void drawMessageLine(std::string_view text, bool isError, std::string_view advice = {});
void enableControl(const Control& control, bool on);
void enableControls(bool on); ///< all boxes at once
void setCheck(const Control& control, bool on);
void setText(const Control& control, std::string_view text);
void setTopmost(bool on);
bool windowRectangle(std::int32_t& left, std::int32_t& top); ///< UI thread; false = unknown, nothing is written

enum class Lamp : std::int32_t { off = 0, receiving = 1, silent = 2, stopped = 3 };

/// Numbers that the window shows; written by the logic, read by the paint routine.
struct Readouts {
    std::atomic<bool> simLight{false}, rtLight{false}, waiting{true}, spanMark{false};
    std::atomic<Lamp> weatherLamp{Lamp::stopped}, trafficLamp{Lamp::stopped};
    std::atomic<std::int32_t> liveries{-1}; ///< -1 = scan running, shown as "..."
    std::atomic<std::int32_t> simaddonFiles{-1}, thirdpartyFiles{-1};
    std::atomic<std::int32_t> tbloFiles{0}; ///< add-on airports in the folder for the hand-over
    std::atomic<std::int32_t> live{0}, parkedLive{0}, parkedStatic{0}, stands{0}, updates{0};
    std::atomic<bool> handmade{false};        ///< the park airport's file is one made by hand
    std::atomic<std::int32_t> trafficWeek{0}; ///< of the traffic from which its file was made, 0 = none
    std::atomic<std::int32_t> qnh{0}, minutesToRenewal{-1};
    std::atomic<std::int32_t> meanParkedMinutes{0}; ///< how long the parked live aircraft have stood
    std::atomic<bool> parkingActive{false};         ///< a park airport is loaded
    /// Wanted parked aircraft, and what they are in percent of the stands; -1 = no park airport.
    std::atomic<std::int32_t> maxPark{-1}, maxParkPercent{-1};
    std::atomic<float> averageFit{-1};            ///< hours that the options of the static aircraft lie back; -1 = none
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
    keptStand,
    quality,
    publisher,   ///< of the park airport's file
    parkAirport, ///< its name
    destination,
    foundObject
};
void setReadout(Readout which, std::string_view text); ///< UTF-8; shown at the next `repaint`
std::string readoutText(Readout which);                ///< any thread

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
