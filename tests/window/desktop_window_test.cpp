// SPDX-License-Identifier: MIT
// The real window on a display of its own, with keys and clicks as a user makes them. Without the programs that give
// such a display, or in a build without the toolkit, it is skipped.
#include "core/control_changes.h"
#include "core/window.h"
#include "platform/display.h"
#include "support.h"
#include "virtual_display.h"
#include "window/desktop_window.h"
#include "window/window_layout.h"

#include <atomic>
#include <future>
#include <map>

#if defined(__SANITIZE_ADDRESS__)
/// What the toolkit's libraries keep to the end of the process is theirs.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libdbus\nleak:libglib\nleak:libgobject\nleak:libgio\nleak:libgtk\n"
           "leak:libgdk\nleak:libpango\nleak:libcairo\nleak:libX11\nleak:librsvg\nleak:libwx_gtk\n";
}
#endif

namespace kes::test {
namespace {

std::atomic<int> closeClicks{0};

/// What `ask` answers on the UI thread, behind what was shown before; an empty answer when none comes.
template <auto ask> auto onWindow() {
    using Answer = decltype(ask());
    static std::promise<Answer> promise;
    promise = {};
    postToWindow([] { promise.set_value(ask()); });
    std::future<Answer> answer = promise.get_future();
    const bool came = answer.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    EXPECT_TRUE(came) << "the UI thread answers";
    return came ? answer.get() : Answer{};
}

std::map<std::uint16_t, BoxOnWindow> boxes() {
    std::map<std::uint16_t, BoxOnWindow> all;
    for (const BoxOnWindow& box : onWindow<boxesOnWindow>())
        all[box.controlId] = box;
    return all;
}

void click(const Control& control) {
    const BoxOnWindow box = boxes()[control.controlId];
    user(fmt::format("mousemove {} {} click 1", box.left + 10, box.top + box.height / 2));
}

/// The next change that reaches the worker's side.
ControlChange nextChange() {
    std::vector<ControlChange> found;
    EXPECT_TRUE(waitFor([&] {
        found = takeControlChanges();
        return !found.empty();
    }));
    EXPECT_EQ(found.size(), 1u);
    return found.empty() ? ControlChange{} : found.front();
}
template <class Box> bool isOf(const ControlChange& change, Box& box) {
    Box* const* found = std::get_if<Box*>(&change.control);
    return found != nullptr && *found == &box;
}

void checkPlaces() {
    const auto all = boxes();
    EXPECT_EQ(all.size(), placedControls().size());
    for (const auto& [id, box] : all) {
        EXPECT_LE(box.neededWidth, box.width) << id << ": its label is cut";
        EXPECT_LE(box.height, 28) << id;
        for (const auto& [other, that] : all) {
            const bool apart = box.left + box.width <= that.left || that.left + that.width <= box.left ||
                               box.top + box.height <= that.top || that.top + that.height <= box.top;
            EXPECT_TRUE(id == other || apart) << id << " and " << other;
        }
    }
}

std::pair<int, int> place() {
    std::int32_t left = 0, top = 0;
    windowRectangle(left, top);
    return {left, top};
}

void checkTicks() {
    click(par::LOG); // disabled as yet
    par::MAIN_WINDOW_X.value = 120;
    par::MAIN_WINDOW_Y.value = 150;
    enableControls(true);
    EXPECT_TRUE(waitFor([] {
        const BoxOnWindow box = boxes()[par::LOG.controlId];
        const int left = box.left - 652 - 120, top = box.top - par::LOG.top - 150; // what is left is the frame
        return left >= 0 && left < 20 && top >= 0 && top < 60;
    })) << "the window goes where it was last";
    EXPECT_TRUE(waitFor([] { return onWindow<place>() == std::pair(120, 150); })) << "and is there for the next time";
    setCheck(par::HELICOPTERS, true);
    click(par::HELICOPTERS);
    const ControlChange off = nextChange(); // and nothing of the click before
    EXPECT_TRUE(isOf(off, par::HELICOPTERS));
    EXPECT_FALSE(off.ticked);
    user("key space"); // it has the focus
    EXPECT_TRUE(nextChange().ticked);
    user("key Tab key space");
    EXPECT_TRUE(isOf(nextChange(), par::HIGH_PERF_AIRCRAFT));
}

void checkBoxes() {
    setText(par::MAX_LIVE, "17");
    click(par::MAX_LIVE);
    user("key End type 5");
    user("key Return");
    ControlChange change = nextChange();
    EXPECT_TRUE(isOf(change, par::MAX_LIVE));
    EXPECT_EQ(change.text, "175") << "nothing before Enter";
    user("key Escape key Return");
    EXPECT_EQ(nextChange().text, "17") << "Escape gives back what the program has set";
    click(par::unblock);
    EXPECT_TRUE(isOf(nextChange(), std::as_const(par::unblock)));
}

/// The desktop's clipboard, by the toolkit's own functions, as another program would fill it.
std::string clip;
int fillClipboard() {
    const auto get = platform::loadedFunction<void* (*)(std::uintptr_t)>("gtk_clipboard_get");
    const auto set = platform::loadedFunction<void (*)(void*, const char*, int)>("gtk_clipboard_set_text");
    constexpr std::uintptr_t clipboard = 69; // the atom's number
    set(get(clipboard), clip.data(), static_cast<int>(clip.size()));
    return 0;
}

void checkFloods() {
    const std::string arabic = "\u0645\u0631\u062d\u0628\u0627", path = "/packages/Gr\u00fc\u00df \u65e5\u672c";
    const struct {
        const char* name;
        std::string pasted, taken;
    } rows[] = {{"a thousand keys", "", std::string(102, '9')},
                {"a megabyte", std::string(1 << 20, 'x'), std::string(102, 'x')},
                {"characters of four bytes", "\U0001F6E9\U0001F6EB", "\U0001F6E9\U0001F6EB"},
                {"from right to left", arabic, arabic},
                {"a path with other letters", path, path},
                {"a line with its end", "DLH4AB\r\nBAW12\n", "DLH4AB"}};
    for (const auto& row : rows) {
        setText(par::ALL_INSTALL_PATH, "");
        click(par::ALL_INSTALL_PATH);
        if (row.pasted.empty()) {
            user("type --delay 0 " + std::string(1000, '9'));
        } else {
            clip = row.pasted;
            onWindow<fillClipboard>();
            user("key ctrl+v");
        }
        std::string taken;
        EXPECT_TRUE(waitFor([&] { // the desktop takes its time to hand over a paste
            user("key Return");
            taken = nextChange().text;
            return !taken.empty();
        })) << row.name;
        EXPECT_EQ(taken, row.taken) << row.name;
    }
}

/// Only what has changed is drawn anew: how many of the texts and labels.
void checkPainting() {
    user("mousemove 5 5"); // nothing glows under the pointer
    const struct {
        const char* name;
        void (*change)();
        std::uint64_t drawn;
    } rows[] = {
        {"nothing, and one read-out", [] { readouts.qnh = 1019; }, 1},
        {"two at once",
         [] {
             readouts.live = 7;
             readouts.weatherLamp = Lamp::receiving;
         },
         2},
        {"the message", [] { drawMessageLine("a word", false); }, 1},
        {"the same as an error", [] { drawMessageLine("a word", true); }, 1},
        {"what to do about it", [] { drawMessageLine("a word", true, "Close it."); }, 1},
        {"the two labels of a box", [] { enableControl(par::LATERAL_RANGE, false); }, 2},
    };
    for (const auto& row : rows) {
        repaint();
        const std::uint64_t before = onWindow<drawnOnWindow>();
        row.change();
        repaint();
        std::uint64_t drawn = 0;
        EXPECT_TRUE(waitFor([&] {
            drawn = onWindow<drawnOnWindow>() - before;
            return drawn >= row.drawn;
        })) << row.name;
        EXPECT_EQ(drawn, row.drawn) << row.name;
    }
}

std::atomic<int> posted{0};

/// While a number of threads show things, nothing is lost that comes last, and no work at all.
void checkManyThreads() {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < 500; ++j) {
                setText(par::AIRPORT_RANGE, std::to_string(i * 1000 + j));
                drawMessageLine(fmt::format("line {} of {}", j, i), j % 7 == 0);
                repaint();
                postToWindow([] { ++posted; });
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    setText(par::AIRPORT_RANGE, "21");
    click(par::AIRPORT_RANGE);
    user("key Return");
    EXPECT_EQ(nextChange().text, "21");
    EXPECT_EQ(posted, 2001) << "with the one before the loop";
}

TEST(DesktopWindow, TakesWhatAUserDoesAndShowsWhatTheProgramWants) {
    Display display;
    if (const std::string none = display.start(); !none.empty())
        GTEST_SKIP() << none;
    std::string reason;
    if (!useDesktopWindow(reason) && reason.empty())
        GTEST_SKIP() << "built without the window";
    ASSERT_EQ(reason, "");
    openWindow();
    postToWindow([] { ++posted; }); // before the loop runs
    std::thread script([] {
        EXPECT_TRUE(waitFor([] { return posted == 1; }));
        user("search --sync --onlyvisible --name '^Kestrelune$' windowactivate --sync");
        checkPlaces();
        checkTicks();
        checkBoxes();
        checkFloods();
        checkPainting();
        checkManyThreads();
        user("key alt+F4");
        EXPECT_TRUE(waitFor([] { return closeClicks == 1; }));
        user("key alt+F4");
        EXPECT_TRUE(waitFor([] { return closeClicks == 2; })) << "the window stays up";
        quitWindow(7);
    });
    EXPECT_EQ(runWindow([] { ++closeClicks; }), 7);
    script.join();
    setWindowBackend({});
}

TEST(DesktopWindow, ADisplayThatIsNotThereIsNoError) {
    std::string reason = "?";
    ::unsetenv("WAYLAND_DISPLAY");
    ::unsetenv("DISPLAY");
    EXPECT_FALSE(useDesktopWindow(reason));
    EXPECT_EQ(reason, "");
    for (const char* name : {":7654", "nonsense", "/no/such/socket"}) {
        ::setenv("DISPLAY", name, 1);
        if (useDesktopWindow(reason) || reason.empty())
            GTEST_SKIP() << "built without the window";
        EXPECT_EQ(reason, fmt::format("the display {} cannot be reached", name));
    }
    ::unsetenv("DISPLAY");
}

} // namespace
} // namespace kes::test
