// SPDX-License-Identifier: MIT
// A window without a display: keeps what the logic shows, and does to its controls what a user would do.
#pragma once

#include "core/control_changes.h"
#include "core/window.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kes::test {

/// The window while it lives; one at a time. The logic may use it from any thread, the test from one.
class TestWindow {
public:
    TestWindow() {
        current() = this;
        WindowBackend backend;
        backend.post = [](void (*work)()) { current()->keep([&](Shown& s) { s.posted.push_back(work); }); };
        backend.repaint = [] {
            current()->keep([](Shown& s) { ++s.repaints; });
            if (current()->onRepaint)
                current()->onRepaint();
        };
        backend.drawMessageLine = [](std::string_view text, bool isError, std::string_view advice) {
            current()->keep([&](Shown& s) { s.lines.push_back({std::string(text), isError, std::string(advice)}); });
            if (current()->onLine)
                current()->onLine(text);
        };
        backend.enableControl = [](std::uint16_t id, bool on) {
            current()->keep([&](Shown& s) { s.enabled[id] = on; });
        };
        backend.setCheck = [](std::uint16_t id, bool on) {
            current()->keep([&](Shown& s) { s.boxes[id] = on ? "x" : ""; });
        };
        backend.setText = [](std::uint16_t id, std::string_view text) {
            current()->keep([&](Shown& s) { s.boxes[id] = text; });
        };
        backend.enableAll = [](bool on) {
            current()->keep([&](Shown& s) {
                s.enabled.clear();
                s.allEnabled = on;
            });
        };
        backend.setTopmost = [](bool on) { current()->keep([&](Shown& s) { s.topmost = on; }); };
        setWindowBackend(backend);
    }
    ~TestWindow() { setWindowBackend({}); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    /// Called on the thread that shows something, after it was kept. Set while no other thread runs.
    std::function<void()> onRepaint;
    std::function<void(std::string_view text)> onLine;

    struct Line {
        std::string text;
        bool isError = false;
        std::string advice;
    };
    struct Shown {
        std::vector<Line> lines;
        std::map<std::uint16_t, std::string> boxes; ///< texts; "x" or empty for a tick
        std::map<std::uint16_t, bool> enabled;      ///< controls that were enabled or disabled since all were
        bool allEnabled = false;
        std::vector<void (*)()> posted; ///< work for the UI thread, which is not done
        int repaints = 0;
        bool topmost = false;
    };
    Shown shown() const {
        const std::lock_guard lock(guard_);
        return shown_;
    }
    void forget() {
        keep([](Shown& s) { s = {}; });
    }
    std::string box(const Control& control) const { return shown().boxes[control.controlId]; }
    bool enabled(const Control& control) const {
        const Shown now = shown();
        const auto found = now.enabled.find(control.controlId);
        return found == now.enabled.end() ? now.allEnabled : found->second;
    }
    /// All status and error lines, each with a line feed.
    std::string lines() const {
        std::string all;
        for (const Line& line : shown().lines)
            all += line.text + "\n";
        return all;
    }

    void tick(BoolBox& box, bool on) {
        keep([&](Shown& s) { s.boxes[box.controlId] = on ? "x" : ""; });
        controlChanged(box, on);
    }
    template <typename Box> void enter(Box& box, std::string_view text) {
        keep([&](Shown& s) { s.boxes[box.controlId] = text; });
        controlChanged(box, std::string(text));
    }
    void press(const Button& button) { controlChanged(button); }

private:
    static TestWindow*& current() {
        static TestWindow* window = nullptr;
        return window;
    }
    template <typename Change> void keep(Change change) {
        const std::lock_guard lock(guard_);
        change(shown_);
    }

    mutable std::mutex guard_;
    Shown shown_;
};

} // namespace kes::test
