// SPDX-License-Identifier: MIT
#include "core/window.h"

#include "core/log.h"

#include <array>

namespace kes {

Readouts readouts;
WindowRequests windowRequests;

namespace {

WindowBackend backend;

std::mutex readoutMutex;
std::array<std::string, static_cast<std::size_t>(Readout::foundObject) + 1> readoutTexts;

} // namespace

void setWindowBackend(const WindowBackend& wanted) {
    backend = wanted;
}

void openWindow() {
    if (backend.open != nullptr)
        backend.open();
}

int runWindow(void (*closeClicked)()) {
    return backend.run != nullptr ? backend.run(closeClicked) : 0;
}

void postToWindow(void (*work)()) {
    if (backend.post != nullptr)
        backend.post(work);
}

void quitWindow(int code) {
    if (backend.quit != nullptr)
        backend.quit(code);
}

void repaint() {
    if (backend.repaint != nullptr)
        backend.repaint();
}

void drawMessageLine(std::string_view text, bool isError, std::string_view advice) {
    if (backend.drawMessageLine != nullptr)
        backend.drawMessageLine(text, isError, advice);
}

void enableControl(const Control& control, bool on) {
    if (backend.enableControl != nullptr && control.controlId != 0)
        backend.enableControl(control.controlId, on);
}

void enableControls(bool on) {
    if (backend.enableAll != nullptr)
        backend.enableAll(on);
}

void setCheck(const Control& control, bool on) {
    if (backend.setCheck != nullptr && control.controlId != 0)
        backend.setCheck(control.controlId, on);
}

void setText(const Control& control, std::string_view text) {
    if (backend.setText != nullptr && control.controlId != 0)
        backend.setText(control.controlId, text);
}

void setTopmost(bool on) {
    if (backend.setTopmost != nullptr)
        backend.setTopmost(on);
}

bool windowRectangle(std::int32_t& left, std::int32_t& top) {
    return backend.rectangle != nullptr && backend.rectangle(left, top);
}

void setReadout(Readout which, std::string_view text) {
    const std::lock_guard lock(readoutMutex);
    readoutTexts[static_cast<std::size_t>(which)] = text;
}

std::string readoutText(Readout which) {
    const std::lock_guard lock(readoutMutex);
    return readoutTexts[static_cast<std::size_t>(which)];
}

void resetWindow() {
    resetStatus();
    {
        const std::lock_guard lock(readoutMutex);
        for (std::string& text : readoutTexts)
            text.clear();
    }
    readouts.simLight = false;
    readouts.rtLight = false;
    readouts.waiting = true;
    readouts.spanMark = false;
    readouts.weatherLamp = Lamp::stopped;
    readouts.trafficLamp = Lamp::stopped;
    // The liveries stay loaded over a restart, so their number stays as well.
    for (std::atomic<std::int32_t>* unknown : {&readouts.simaddonFiles, &readouts.thirdpartyFiles,
                                               &readouts.minutesToRenewal, &readouts.maxPark, &readouts.maxParkPercent})
        *unknown = -1;
    readouts.averageFit = -1.0F;
    readouts.parkingActive = false;
    for (std::atomic<std::int32_t>* counter :
         {&readouts.live, &readouts.parkedLive, &readouts.parkedStatic, &readouts.stands, &readouts.updates,
          &readouts.qnh, &readouts.meanParkedMinutes, &readouts.trafficWeek})
        *counter = 0;
    readouts.handmade = false;
    readouts.simFrameRate = 0.0F;
    readouts.selectedObject = 0;

    for (std::atomic<bool>* request :
         {&windowRequests.reRead, &windowRequests.flushStatic, &windowRequests.findCallsign, &windowRequests.blockNow,
          &windowRequests.parkAdjust, &windowRequests.clearNoMatch, &windowRequests.maxLive,
          &windowRequests.newSettings})
        *request = false;
}

} // namespace kes
