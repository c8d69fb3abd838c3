// SPDX-License-Identifier: MIT
#include "window/desktop_window.h"

#include "core/log.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/display.h"
#include "window/desktop_panel.h"
#include "window/message_pump.h"
#include "window/terminal_window.h"
#include "window/toolkit_style.h"
#include "window/window_place.h"

#include <atomic>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <mutex>
#include <utility>
#include <variant>
#include <vector>
#include <wx/display.h>
#include <wx/frame.h>
#include <wx/init.h>
#include <wx/wx.h>

namespace kes {

namespace {

// What other threads want of the window, in the order in which they asked.
struct EnableOne {
    std::uint16_t id;
    bool on;
};
struct Tick {
    std::uint16_t id;
    bool on;
};
struct Fill {
    std::uint16_t id;
    std::string text;
};
struct EnableAll {
    bool on;
};
struct Topmost {
    bool on;
};
struct Post {
    void (*work)();
};
struct Quit {
    int code;
};
using Wish = std::variant<EnableOne, Tick, Fill, EnableAll, Topmost, Post, Quit>;

// Never destroyed: other threads may show something to the very end of the process.
std::mutex& wishMutex = *new std::mutex;
std::vector<Wish>& wishes = *new std::vector<Wish>;
bool awake = false; ///< under the lock: the toolkit runs and can be woken
/// From here on the terminal stands in for the window. Set under the lock, once.
std::atomic<bool> displayGone{false};
WindowBackend& terminal = *new WindowBackend; ///< by then

wxDEFINE_EVENT(wishEvent, wxThreadEvent);

/// What is still to be done without a display.
void doWithoutDisplay(const Wish& wanted) {
    if (const Post* post = std::get_if<Post>(&wanted))
        postMessage(post->work);
    else if (const Quit* quit = std::get_if<Quit>(&wanted))
        postQuit(quit->code);
}

void wish(Wish wanted) {
    const std::lock_guard lock(wishMutex);
    if (displayGone) {
        doWithoutDisplay(wanted);
        return;
    }
    wishes.push_back(std::move(wanted));
    if (awake && wishes.size() == 1)
        wxQueueEvent(wxTheApp, new wxThreadEvent(wishEvent));
}

class Window : public wxFrame {
public:
    explicit Window(void (*closeClicked)())
        : wxFrame(nullptr, wxID_ANY, toolkitText(programName), wxDefaultPosition, wxDefaultSize,
                  wxDEFAULT_FRAME_STYLE & ~(wxRESIZE_BORDER | wxMAXIMIZE_BOX)),
          panel_(new DesktopPanel(this)), closeClicked_(closeClicked) {
        SetBackgroundColour(windowBackground);
        const wxSize size = FromDIP(wxSize(windowWidth, windowHeight));
        panel_->SetSize(size);
        SetClientSize(size);
        SetMinClientSize(size);
        SetMaxClientSize(size);
        Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
            event.Veto(event.CanVeto());
            closeClicked_();
        });
        Bind(wxEVT_MOVE, [this](wxMoveEvent& event) {
            lastPlace = GetPosition();
            event.Skip();
        });
    }

    /// Where it was last, as far as there still is a screen.
    void goToItsPlace() {
        std::vector<Area> screens;
        for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) {
            const wxRect free = wxDisplay(i).GetClientArea();
            screens.push_back({free.x, free.y, free.width, free.height});
        }
        if (screens.empty())
            return;
        const wxSize size = GetSize();
        const Area place = pulledBack({par::MAIN_WINDOW_X, par::MAIN_WINDOW_Y, size.x, size.y}, screens);
        Move(place.left, place.top);
    }

    DesktopPanel& panel() { return *panel_; }
    bool placed = false;
    wxPoint lastPlace = wxDefaultPosition; ///< kept, as nobody can be asked when the display has gone

private:
    DesktopPanel* panel_;
    void (*closeClicked_)();
};

/// The toolkit's own idea of the program; the process entry is ours.
class Toolkit : public wxApp {
public:
    bool OnInit() override { return true; }
    int exitCode = 0;
};

// UI thread
Window* window = nullptr;
void (*closeClick)() = nullptr;
enum class Loop { before, runs, ended };
Loop loop = Loop::before;
std::deque<Wish>& granting = *new std::deque<Wish>; ///< taken from `wishes`, and not yet done

struct Grant {
    void operator()(const EnableOne& wanted) const { window->panel().enable(wanted.id, wanted.on); }
    void operator()(const Tick& wanted) const { window->panel().tick(wanted.id, wanted.on); }
    void operator()(const Fill& wanted) const { window->panel().fill(wanted.id, wanted.text); }
    void operator()(const EnableAll& wanted) const {
        window->panel().enableAll(wanted.on);
        // The parameters have been read by now.
        if (wanted.on && !std::exchange(window->placed, true))
            window->goToItsPlace();
    }
    void operator()(const Topmost& wanted) const {
        const long style = window->GetWindowStyle() & ~wxSTAY_ON_TOP;
        window->SetWindowStyle(wanted.on ? style | wxSTAY_ON_TOP : style);
    }
    void operator()(const Post& wanted) const { wanted.work(); }
    void operator()(const Quit& wanted) const {
        static_cast<Toolkit*>(wxTheApp)->exitCode = wanted.code;
        wxTheApp->ExitMainLoop();
    }
};

void grantWishes() {
    {
        const std::lock_guard lock(wishMutex);
        std::move(wishes.begin(), wishes.end(), std::back_inserter(granting));
        wishes.clear();
    }
    while (!granting.empty()) {
        const Wish wanted = std::move(granting.front());
        granting.pop_front();
        std::visit(Grant{}, wanted);
    }
}

/// The toolkit would end the process here, and its calls below cannot be gone back to. So the UI thread stays in this
/// one, and is that of the terminal until the program ends in good order.
void goOnWithoutDisplay() {
    const int code = static_cast<Toolkit*>(wxTheApp)->exitCode;
    if (loop == Loop::ended)
        std::_Exit(code);
    if (loop == Loop::before)
        return; // nothing runs yet that would be lost
    terminal = terminalBackend(platform::Output(platform::Output::Standard::out),
                               platform::Output(platform::Output::Standard::error));
    terminal.open();
    {
        const std::lock_guard lock(wishMutex);
        displayGone = true;
        for (const Wish& wanted : granting)
            doWithoutDisplay(wanted);
        for (const Wish& wanted : wishes)
            doWithoutDisplay(wanted);
    }
    // Not as a status: an error that stands would hide it.
    constexpr std::string_view told = "The display has gone, the run goes on without a window";
    log(told);
    terminal.drawMessageLine(told, false, {});
    terminal.drawMessageLine(errorText(), true, {});
    std::_Exit(terminal.run(closeClick));
}

void openDesktop() {
    window = new Window([] {
        if (closeClick != nullptr)
            closeClick();
    });
    window->Show();
    wxTheApp->SetTopWindow(window);
}

int runDesktop(void (*closeClicked)()) {
    closeClick = closeClicked;
    wxTheApp->Bind(wishEvent, [](wxThreadEvent&) { grantWishes(); });
    // The desktop ends the session: it takes no veto, but there is time to begin.
    wxTheApp->Bind(wxEVT_END_SESSION, [](wxCloseEvent&) { closeClick(); });
    wxTheApp->CallAfter([] {
        {
            const std::lock_guard lock(wishMutex);
            awake = true;
        }
        grantWishes();
    });
    loop = Loop::runs;
    wxTheApp->OnRun();
    loop = Loop::ended;
    const int code = static_cast<Toolkit*>(wxTheApp)->exitCode;
    {
        const std::lock_guard lock(wishMutex);
        awake = false;
    }
    delete std::exchange(window, nullptr);
    wxTheApp->OnExit();
    wxEntryCleanup();
    return code;
}

} // namespace

std::vector<BoxOnWindow> boxesOnWindow() {
    return window != nullptr ? window->panel().boxes() : std::vector<BoxOnWindow>();
}

std::uint64_t drawnOnWindow() {
    return window != nullptr ? window->panel().drawn() : 0;
}

bool useDesktopWindow(std::string& reason) {
    if (!platform::displayCanBeReached(reason))
        return false;
    wxApp::SetInstance(new Toolkit);
    int argc = 1;
    static std::string name(programName);
    static char* argv[] = {name.data(), nullptr};
    if (!wxEntryStart(argc, argv) || !wxTheApp->CallOnInit()) {
        reason = "the display takes no window";
        return false;
    }
    whenDisplayGoes(goOnWithoutDisplay);
    wxTheApp->SetExitOnFrameDelete(false);
    WindowBackend backend;
    backend.open = openDesktop;
    backend.run = runDesktop;
    backend.post = [](void (*work)()) { wish(Post{work}); };
    backend.quit = [](int code) { wish(Quit{code}); };
    backend.repaint = [] { displayGone ? terminal.repaint() : paintSoon(); };
    backend.drawMessageLine = [](std::string_view text, bool isError, std::string_view advice) {
        displayGone ? terminal.drawMessageLine(text, isError, advice) : setMessageLine(text, isError, advice);
    };
    backend.enableControl = [](std::uint16_t id, bool on) { wish(EnableOne{id, on}); };
    backend.setCheck = [](std::uint16_t id, bool on) { wish(Tick{id, on}); };
    backend.setText = [](std::uint16_t id, std::string_view text) { wish(Fill{id, std::string(text)}); };
    backend.setTopmost = [](bool on) { wish(Topmost{on}); };
    backend.enableAll = [](bool on) { wish(EnableAll{on}); };
    backend.rectangle = [](std::int32_t& left, std::int32_t& top) {
        if (window == nullptr || window->lastPlace == wxDefaultPosition)
            return false;
        left = window->lastPlace.x;
        top = window->lastPlace.y;
        return true;
    };
    setWindowBackend(backend);
    return true;
}

} // namespace kes
