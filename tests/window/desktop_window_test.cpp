// The real window on a display of its own, with keys and clicks as a user makes them. Without the programs that give
// such a display, or in a build without the toolkit, it is skipped.
#include "../support.h"
#include "core/control_changes.h"
#include "core/window.h"
#include "window/desktop_window.h"
#include "window/window_layout.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fmt/format.h>
#include <future>
#include <map>
#include <sys/wait.h>
#include <thread>

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

bool isInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

/// A virtual display with a window manager, which gives the window its frame and the focus.
class Display {
public:
    ~Display() {
        for (const pid_t one : {manager_, server_}) {
            if (one > 0) {
                ::kill(one, SIGTERM);
                ::waitpid(one, nullptr, 0);
            }
        }
    }
    bool start() {
        int number[2];
        if (::pipe(number) != 0)
            return false;
        server_ =
            run({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp", "-noreset"}, number[1]);
        ::close(number[1]);
        char text[16] = {};
        const ssize_t got = ::read(number[0], text, sizeof text - 1); // waits until the display is there
        ::close(number[0]);
        if (got <= 0)
            return false;
        ::setenv("DISPLAY", fmt::format(":{}", std::atoi(text)).c_str(), 1);
        ::unsetenv("WAYLAND_DISPLAY");
        manager_ = run({"openbox"}, -1);
        return manager_ > 0;
    }

private:
    static pid_t run(std::vector<const char*> command, int output) {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(output >= 0 ? output : nowhere, 1);
        ::dup2(nowhere, 2);
        command.push_back(nullptr);
        ::execvp(command[0], const_cast<char**>(command.data()));
        ::_exit(127);
    }
    pid_t server_ = -1, manager_ = -1;
};

std::atomic<int> closeClicks{0};
std::promise<std::vector<BoxOnWindow>>* boxesAsked = nullptr;

/// On the UI thread, behind what was shown before.
std::map<std::uint16_t, BoxOnWindow> boxes() {
    std::promise<std::vector<BoxOnWindow>> promise;
    boxesAsked = &promise;
    postToWindow([] { boxesAsked->set_value(boxesOnWindow()); });
    std::map<std::uint16_t, BoxOnWindow> all;
    for (const BoxOnWindow& box : promise.get_future().get())
        all[box.controlId] = box;
    return all;
}

void user(const std::string& does) {
    EXPECT_EQ(std::system(("xdotool " + does).c_str()), 0) << does;
}

void click(const Control& control) {
    const BoxOnWindow box = boxes()[control.controlId];
    user(fmt::format("mousemove --sync {} {} click 1", box.left + 10, box.top + box.height / 2));
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

    setText(par::BLOCK_CALLSIGN, "");
    click(par::BLOCK_CALLSIGN);
    user("type '" + std::string(150, 'x') + "'");
    user("key Return");
    EXPECT_EQ(nextChange().text, std::string(102, 'x'));
    setText(par::ALL_INSTALL_PATH, "/packages/Gr\xC3\xBC\xC3\x9F");
    click(par::ALL_INSTALL_PATH);
    user("key Return");
    EXPECT_EQ(nextChange().text, "/packages/Gr\xC3\xBC\xC3\x9F");
    click(par::unblock);
    EXPECT_TRUE(isOf(nextChange(), std::as_const(par::unblock)));
}

/// While a number of threads show things, nothing is lost that comes last.
void checkManyThreads() {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < 500; ++j) {
                setText(par::AIRPORT_RANGE, std::to_string(i * 1000 + j));
                drawMessageLine(fmt::format("line {} of {}", j, i), j % 7 == 0);
                repaint();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    setText(par::AIRPORT_RANGE, "21");
    click(par::AIRPORT_RANGE);
    user("key Return");
    EXPECT_EQ(nextChange().text, "21");
}

TEST(DesktopWindow, TakesWhatAUserDoesAndShowsWhatTheProgramWants) {
    for (const char* program : {"Xvfb", "openbox", "xdotool"}) {
        if (!isInstalled(program))
            GTEST_SKIP() << program << " is not installed";
    }
    Display display;
    ASSERT_TRUE(display.start());
    std::string reason;
    if (!useDesktopWindow(reason) && reason.empty())
        GTEST_SKIP() << "built without the window";
    ASSERT_EQ(reason, "");
    openWindow();
    static std::atomic<int> posted{0};
    postToWindow([] { ++posted; }); // before the loop runs
    std::thread script([] {
        EXPECT_TRUE(waitFor([] { return posted == 1; }));
        user("search --sync --onlyvisible --name '^Kestrelune$' windowactivate --sync");
        checkPlaces();
        checkTicks();
        checkBoxes();
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
