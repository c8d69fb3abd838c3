#include "window/desktop_window.h"

#include "core/control_changes.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/display.h"
#include "window/toolkit_style.h"
#include "window/window_layout.h"
#include "window/window_text.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <variant>
#include <vector>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/dcbuffer.h>
#include <wx/display.h>
#include <wx/frame.h>
#include <wx/init.h>
#include <wx/panel.h>
#include <wx/textctrl.h>
#include <wx/timer.h>
#include <wx/wx.h>

namespace kes {

namespace {

constexpr int paintPeriodMs = 100;
constexpr int longestText = 102; ///< characters that a box gives

const wxColour background(0, 0, 0), boxBackground(0x99, 0xCC, 0xFF), boxText(0, 0, 0), normalText(0xE8, 0xE8, 0xE8),
    greyText(0xA0, 0xA0, 0xA0), highlightText(0x8C, 0xE0, 0x9C), messageText(0xFF, 0xFF, 0x00),
    errorBackground(0x90, 0x00, 0x00);

wxColour colourOf(Tone tone) {
    switch (tone) {
    case Tone::grey:
        return greyText;
    case Tone::highlight:
    case Tone::title:
        return highlightText;
    case Tone::warning:
        return messageText;
    default:
        return normalText;
    }
}

wxColour colourOf(Lamp lamp) {
    switch (lamp) {
    case Lamp::receiving:
        return {0x30, 0xD0, 0x50};
    case Lamp::silent:
        return {0xFF, 0xB0, 0x20};
    case Lamp::stopped:
        return {0xE0, 0x30, 0x30};
    default:
        return {0x50, 0x50, 0x50};
    }
}

wxString textOf(std::string_view utf8) {
    const wxString text = wxString::FromUTF8(utf8.data(), utf8.size());
    return text.empty() && !utf8.empty() ? wxString::From8BitData(utf8.data(), utf8.size()) : text;
}

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
std::mutex& lineMutex = *new std::mutex;
std::string& lineText = *new std::string;
std::string& lineAdvice = *new std::string;
bool lineIsError = false;
std::atomic<bool> paintDue{true};

wxDEFINE_EVENT(wishEvent, wxThreadEvent);

void wish(Wish wanted) {
    const std::lock_guard lock(wishMutex);
    wishes.push_back(std::move(wanted));
    if (awake && wishes.size() == 1)
        wxQueueEvent(wxTheApp, new wxThreadEvent(wishEvent));
}

class Panel;

/// One control of the toolkit and what it belongs to.
struct Shown {
    const PlacedControl* placed = nullptr;
    wxCheckBox* tick = nullptr;
    wxTextCtrl* box = nullptr;
    wxButton* button = nullptr;
    wxString set; ///< the text that the logic has set: Escape gives it back
    wxControl* control() const {
        return tick ? static_cast<wxControl*>(tick) : box ? static_cast<wxControl*>(box) : button;
    }
};

class Panel : public wxPanel {
public:
    explicit Panel(wxWindow* parent) : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetBackgroundColour(background);
        font_ = GetFont();
        font_.SetPointSize(9);
        SetFont(font_);
        titleFont_ = font_.Bold().Scaled(1.4F);
        for (const PlacedControl& placed : placedControls())
            make(placed);
        Bind(wxEVT_PAINT, [this](wxPaintEvent&) { paint(); });
        Bind(wxEVT_MOTION, [this](wxMouseEvent& event) {
            tipAt(event.GetPosition());
            event.Skip();
        });
        timer_.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { refreshWhatChanged(); });
        timer_.Start(paintPeriodMs);
    }

    void enable(std::uint16_t id, bool on) {
        if (Shown* shown = find(id))
            enable(*shown, on);
    }
    void enableAll(bool on) {
        for (Shown& shown : shown_)
            enable(shown, on);
    }
    void tick(std::uint16_t id, bool on) {
        Shown* shown = find(id);
        if (shown == nullptr || shown->tick == nullptr)
            return;
        shown->tick->SetValue(on);
        colourLabel(*shown);
    }
    void fill(std::uint16_t id, const std::string& text) {
        Shown* shown = find(id);
        if (shown == nullptr || shown->box == nullptr)
            return;
        shown->set = textOf(text);
        shown->box->ChangeValue(shown->set);
    }
    std::vector<BoxOnWindow> boxes() const {
        std::vector<BoxOnWindow> all;
        for (const Shown& shown : shown_) {
            const wxRect place = shown.control()->GetScreenRect();
            const int needed = shown.box ? 0 : shown.control()->GetBestSize().x;
            all.push_back({shown.placed->base().controlId, place.x, place.y, place.width, place.height, needed});
        }
        return all;
    }

private:
    Shown* find(std::uint16_t id) {
        const auto found = byId_.find(id);
        return found == byId_.end() ? nullptr : &shown_[found->second];
    }

    void make(const PlacedControl& placed) {
        const wxPoint at = FromDIP(wxPoint(placed.x, placed.base().top));
        const wxSize size = FromDIP(wxSize(placed.width, rowHeight));
        Shown shown;
        shown.placed = &placed;
        const std::size_t number = shown_.size();
        if (std::holds_alternative<BoolBox*>(placed.control)) {
            shown.tick = new wxCheckBox(this, wxID_ANY, textOf(placed.label));
            shown.tick->SetForegroundColour(greyText);
            shown.tick->SetBackgroundColour(background);
            shown.tick->Bind(wxEVT_CHECKBOX, [this, number](wxCommandEvent& event) {
                colourLabel(shown_[number]);
                controlChanged(*std::get<BoolBox*>(shown_[number].placed->control), event.IsChecked());
            });
        } else if (const Button* const* button = std::get_if<const Button*>(&placed.control)) {
            shown.button = new wxButton(this, wxID_ANY, textOf((*button)->caption));
            shown.button->Bind(wxEVT_BUTTON, [button](wxCommandEvent&) { controlChanged(**button); });
        } else {
            shown.box =
                new wxTextCtrl(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
            shown.box->SetMaxLength(longestText);
            shown.box->SetBackgroundColour(boxBackground);
            shown.box->SetForegroundColour(boxText);
            shown.box->Bind(wxEVT_TEXT_ENTER, [this, number](wxCommandEvent&) { enter(shown_[number]); });
            shown.box->Bind(wxEVT_CHAR_HOOK, [this, number](wxKeyEvent& event) {
                if (event.GetKeyCode() == WXK_ESCAPE)
                    shown_[number].box->ChangeValue(shown_[number].set);
                else
                    event.Skip();
            });
        }
        shown.control()->SetName(textOf(nameOf(placed)));
        shown.control()->SetToolTip(textOf(placed.wholeTip()));
        makeFlat(shown.control()->GetHandle());
        shown.control()->SetSize(wxRect(at, size));
        shown.control()->Disable();
        byId_[placed.base().controlId] = number;
        shown_.push_back(std::move(shown));
    }

    static std::string nameOf(const PlacedControl& placed) {
        return std::visit(
            [](const auto* box) {
                if constexpr (std::is_same_v<decltype(box), const Button*>)
                    return std::string(box->caption);
                else
                    return std::string(box->name);
            },
            placed.control);
    }

    static void enter(const Shown& shown) {
        std::string text(shown.box->GetValue().utf8_str());
        std::visit(
            [&text](auto* box) {
                if constexpr (!std::is_same_v<decltype(box), BoolBox*> && !std::is_same_v<decltype(box), const Button*>)
                    controlChanged(*box, std::move(text));
            },
            shown.placed->control);
    }

    void enable(Shown& shown, bool on) {
        if (shown.control()->IsEnabled() == on)
            return;
        shown.control()->Enable(on);
        colourLabel(shown);
        Refresh(); // the labels beside it
    }

    static void colourLabel(const Shown& shown) {
        if (shown.tick)
            shown.tick->SetForegroundColour(!shown.tick->IsEnabled() || !shown.tick->GetValue() ? greyText
                                                                                                : highlightText);
    }

    wxRect scaled(const wxRect& place) const { return {FromDIP(place.GetPosition()), FromDIP(place.GetSize())}; }
    wxRect placeOf(const DrawnText& drawn) const {
        return scaled(wxRect(drawn.x, drawn.y, drawn.width, drawn.tone == Tone::title ? 26 : rowHeight));
    }
    wxRect messagePlace() const {
        return scaled(wxRect(messageColumn, messageRow, windowWidth - 2 * messageColumn, rowHeight));
    }

    void refreshWhatChanged() {
        if (!paintDue.exchange(false))
            return;
        std::swap(texts_, last_);
        buildWindowTexts(texts_);
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            if (i >= last_.size() || !(texts_[i] == last_[i]))
                RefreshRect(placeOf(texts_[i]));
        }
        std::string line;
        bool isError = false;
        {
            const std::lock_guard lock(lineMutex);
            line = lineText;
            advice_ = lineAdvice;
            isError = lineIsError;
        }
        if (line != message_ || isError != messageIsError_)
            RefreshRect(messagePlace());
        message_ = std::move(line);
        messageIsError_ = isError;
    }

    /// The text, shortened to the room it has.
    wxString shortened(wxDC& dc, const wxString& text, int width) const {
        return wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, width);
    }

    void draw(wxDC& dc, const DrawnText& drawn) {
        if (drawn.text.empty())
            return;
        wxRect place = placeOf(drawn);
        dc.SetFont(drawn.tone == Tone::title ? titleFont_ : font_);
        if (drawn.hasLamp) {
            const int size = FromDIP(10);
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(wxBrush(colourOf(drawn.lamp)));
            dc.DrawEllipse(place.x, place.y + (place.height - size) / 2, size, size);
            place.x += FromDIP(16);
            place.width -= FromDIP(16);
        }
        dc.SetTextForeground(colourOf(drawn.tone));
        dc.DrawLabel(shortened(dc, textOf(drawn.text), place.width), place, wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
    }

    void drawLabels(wxDC& dc) {
        dc.SetFont(font_);
        for (const Shown& shown : shown_) {
            if (!shown.box || shown.placed->label.empty())
                continue;
            dc.SetTextForeground(shown.box->IsEnabled() ? normalText : greyText);
            const wxRect place = scaled(wxRect(shown.placed->x - 206, shown.placed->base().top, 200, rowHeight));
            dc.DrawLabel(textOf(shown.placed->label), place, wxALIGN_RIGHT | wxALIGN_CENTRE_VERTICAL);
        }
        for (const PlacedLabel& label : placedLabels()) {
            const bool off = label.of != nullptr && !isEnabled(*label.of);
            dc.SetTextForeground(off ? greyText : normalText);
            dc.DrawLabel(textOf(label.text), scaled(wxRect(label.x, label.row, 200, rowHeight)),
                         wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
        }
    }
    bool isEnabled(const Control& control) {
        const Shown* shown = find(control.controlId);
        return shown != nullptr && shown->control()->IsEnabled();
    }

    void paint() {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(wxBrush(background));
        dc.Clear();
        drawLabels(dc);
        if (texts_.empty())
            buildWindowTexts(texts_);
        for (const DrawnText& drawn : texts_)
            draw(dc, drawn);
        if (message_.empty())
            return;
        const wxRect place = messagePlace();
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxBrush(messageIsError_ ? errorBackground : background));
        dc.DrawRectangle(place);
        dc.SetFont(font_);
        dc.SetTextForeground(messageText);
        dc.DrawLabel(shortened(dc, textOf(message_), place.width), place, wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
    }

    /// What was cut stands whole in a tip.
    void tipAt(const wxPoint& at) {
        wxString whole;
        wxClientDC dc(this);
        const auto isCut = [&](const wxString& text, const wxRect& place) {
            return place.Contains(at) && dc.GetTextExtent(text).x > place.width;
        };
        dc.SetFont(font_);
        for (const DrawnText& drawn : texts_) {
            wxRect place = placeOf(drawn);
            if (drawn.hasLamp)
                place.width -= FromDIP(16);
            if (isCut(textOf(drawn.text), place))
                whole = textOf(drawn.text);
        }
        if (isCut(textOf(message_), messagePlace()))
            whole = textOf(message_);
        if (!advice_.empty() && messagePlace().Contains(at))
            whole = textOf(message_) + "\n" + textOf(advice_);
        if (whole != GetToolTipText()) {
            if (whole.empty())
                UnsetToolTip();
            else
                SetToolTip(whole);
        }
    }

    std::vector<Shown> shown_;
    std::map<std::uint16_t, std::size_t> byId_;
    std::vector<DrawnText> texts_, last_;
    std::string message_, advice_;
    bool messageIsError_ = false;
    wxFont font_, titleFont_;
    wxTimer timer_;
};

class Window : public wxFrame {
public:
    explicit Window(void (*closeClicked)())
        : wxFrame(nullptr, wxID_ANY, textOf(programName), wxDefaultPosition, wxDefaultSize,
                  wxDEFAULT_FRAME_STYLE & ~(wxRESIZE_BORDER | wxMAXIMIZE_BOX)),
          panel_(new Panel(this)), closeClicked_(closeClicked) {
        SetBackgroundColour(background);
        const wxSize size = FromDIP(wxSize(windowWidth, windowHeight));
        panel_->SetSize(size);
        SetClientSize(size);
        SetMinClientSize(size);
        SetMaxClientSize(size);
        Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
            event.Veto(event.CanVeto());
            closeClicked_();
        });
    }

    /// Where it was last, pulled back onto a screen that there is.
    void goToItsPlace() {
        wxPoint at(par::MAIN_WINDOW_X, par::MAIN_WINDOW_Y);
        const wxSize size = GetSize();
        const int found = wxDisplay::GetFromPoint(at + wxPoint(size.x / 2, 10));
        const wxRect screen = wxDisplay(static_cast<unsigned>(found == wxNOT_FOUND ? 0 : found)).GetClientArea();
        at.x = std::max(screen.x, std::min(at.x, screen.GetRight() - size.x));
        at.y = std::max(screen.y, std::min(at.y, screen.GetBottom() - size.y));
        Move(at);
    }

    Panel& panel() { return *panel_; }
    bool placed = false;

private:
    Panel* panel_;
    void (*closeClicked_)();
};

/// The toolkit's own idea of the program; the process entry is ours.
class Toolkit : public wxApp {
public:
    bool OnInit() override { return true; }
    int exitCode = 0;
};

Window* window = nullptr; ///< UI thread
void (*closeClick)() = nullptr;

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
    std::vector<Wish> granted;
    {
        const std::lock_guard lock(wishMutex);
        granted.swap(wishes);
    }
    for (const Wish& wanted : granted)
        std::visit(Grant{}, wanted);
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
    wxTheApp->OnRun();
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
    wxTheApp->SetExitOnFrameDelete(false);
    WindowBackend backend;
    backend.open = openDesktop;
    backend.run = runDesktop;
    backend.post = [](void (*work)()) { wish(Post{work}); };
    backend.quit = [](int code) { wish(Quit{code}); };
    backend.repaint = [] { paintDue = true; };
    backend.drawMessageLine = [](std::string_view text, bool isError, std::string_view advice) {
        {
            const std::lock_guard lock(lineMutex);
            lineText = text;
            lineAdvice = advice;
            lineIsError = isError;
        }
        paintDue = true;
    };
    backend.enableControl = [](std::uint16_t id, bool on) { wish(EnableOne{id, on}); };
    backend.setCheck = [](std::uint16_t id, bool on) { wish(Tick{id, on}); };
    backend.setText = [](std::uint16_t id, std::string_view text) { wish(Fill{id, std::string(text)}); };
    backend.setTopmost = [](bool on) { wish(Topmost{on}); };
    backend.enableAll = [](bool on) { wish(EnableAll{on}); };
    backend.rectangle = [](std::int32_t& left, std::int32_t& top) {
        if (window == nullptr)
            return false;
        const wxPoint at = window->GetPosition();
        left = at.x;
        top = at.y;
        return true;
    };
    setWindowBackend(backend);
    return true;
}

} // namespace kes
