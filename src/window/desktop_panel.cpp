// SPDX-License-Identifier: MIT
#include "window/desktop_panel.h"

#include "core/control_changes.h"
#include "core/log.h"

#include <algorithm>
#include <atomic>
#include <fmt/format.h>
#include <mutex>
#include <utility>
#include <variant>
#include <wx/dcbuffer.h>
#include <wx/dcclient.h>

namespace kes {

const wxColour windowBackground(0, 0, 0);

namespace {

constexpr int paintPeriodMs = 100;
constexpr int longestText = 102; ///< characters that a box gives
constexpr int lampSize = 10, lampRoom = 16;

const wxColour boxBackground(0x99, 0xCC, 0xFF), boxText(0, 0, 0), normalText(0xE8, 0xE8, 0xE8),
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

// Never destroyed: other threads may show something to the very end of the process.
std::mutex& lineMutex = *new std::mutex;
std::string& lineText = *new std::string;
std::string& lineAdvice = *new std::string;
bool lineIsError = false;
std::atomic<bool> paintDue{true};

std::string nameOf(const PlacedControl& placed) {
    return std::visit(
        [](const auto* box) {
            if constexpr (std::is_same_v<decltype(box), const Button*>)
                return std::string(box->caption);
            else
                return std::string(box->name);
        },
        placed.control);
}

/// What stands in a box, UTF-8; of a paste of many lines the first. The box itself has no limit: the toolkit would
/// refuse a longer paste without a word, while this way the user is told what was taken.
std::string lf_getTextFromId(const wxTextCtrl& box) {
    wxString text = box.GetValue();
    text = text.Left(text.find_first_of("\r\n")).Left(longestText);
    const wxScopedCharBuffer utf8 = text.utf8_str();
    if (utf8.length() == 0 && !text.empty())
        log(fmt::format("{} {}", "lf_getTextFromId", "half a character has no UTF-8"));
    return {utf8.data(), utf8.length()};
}

void enter(const PlacedControl& placed, const wxTextCtrl& from) {
    std::string text = lf_getTextFromId(from);
    std::visit(
        [&text](auto* box) {
            if constexpr (!std::is_same_v<decltype(box), BoolBox*> && !std::is_same_v<decltype(box), const Button*>)
                controlChanged(*box, std::move(text));
        },
        placed.control);
}

/// The text, shortened to the room it has.
wxString shortened(wxDC& dc, const std::string& text, int width) {
    return wxControl::Ellipsize(toolkitText(text), dc, wxELLIPSIZE_END, width);
}

/// Up to which blank a text fits into the width; all of it when it has none there.
std::size_t firstLineEnd(wxDC& dc, std::string_view text, int width) {
    std::size_t fits = std::string_view::npos;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find(' ', end + 1);
        if (dc.GetTextExtent(toolkitText(text.substr(0, end))).x > width)
            break;
        fits = end;
        if (end == std::string_view::npos)
            return text.size();
    }
    return fits == std::string_view::npos ? text.size() : fits;
}

} // namespace

void paintSoon() {
    paintDue = true;
}

void setMessageLine(std::string_view text, bool isError, std::string_view advice) {
    {
        const std::lock_guard lock(lineMutex);
        lineText = text;
        lineAdvice = advice;
        lineIsError = isError;
    }
    paintSoon();
}

wxString toolkitText(std::string_view utf8) {
    const wxString text = wxString::FromUTF8(utf8.data(), utf8.size());
    return text.empty() && !utf8.empty() ? wxString::From8BitData(utf8.data(), utf8.size()) : text;
}

wxControl* DesktopPanel::Shown::control() const {
    return tick ? static_cast<wxControl*>(tick) : box ? static_cast<wxControl*>(box) : button;
}

DesktopPanel::DesktopPanel(wxWindow* parent)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetBackgroundColour(windowBackground);
    font_ = GetFont();
    font_.SetPointSize(9);
    SetFont(font_);
    titleFont_ = font_.Bold().Scaled(1.4F);
    for (const PlacedControl& placed : placedControls())
        make(placed);
    for (const PlacedLabel& label : placedLabels())
        addLabel(label.text, label.x, label.row, false, label.of);
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { paint(); });
    Bind(wxEVT_MOTION, [this](wxMouseEvent& event) {
        tipAt(event.GetPosition());
        event.Skip();
    });
    timer_.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { refreshWhatChanged(); });
    timer_.Start(paintPeriodMs);
}

void DesktopPanel::enable(std::uint16_t id, bool on) {
    if (Shown* shown = find(id))
        enable(*shown, on);
}

void DesktopPanel::enableAll(bool on) {
    for (Shown& shown : shown_)
        enable(shown, on);
}

void DesktopPanel::tick(std::uint16_t id, bool on) {
    Shown* shown = find(id);
    if (shown == nullptr || shown->tick == nullptr)
        return;
    shown->tick->SetValue(on);
    colourTick(*shown);
}

void DesktopPanel::fill(std::uint16_t id, const std::string& text) {
    Shown* shown = find(id);
    if (shown == nullptr || shown->box == nullptr)
        return;
    shown->set = toolkitText(text);
    shown->box->ChangeValue(shown->set);
}

std::vector<BoxOnWindow> DesktopPanel::boxes() const {
    std::vector<BoxOnWindow> all;
    for (const Shown& shown : shown_) {
        const wxRect place = shown.control()->GetScreenRect();
        const int needed = shown.box ? 0 : shown.control()->GetBestSize().x;
        all.push_back({shown.placed->base().controlId, place.x, place.y, place.width, place.height, needed});
    }
    return all;
}

DesktopPanel::Shown* DesktopPanel::find(std::uint16_t id) {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : &shown_[found->second];
}

void DesktopPanel::make(const PlacedControl& placed) {
    Shown shown{.placed = &placed};
    const std::size_t number = shown_.size();
    if (std::holds_alternative<BoolBox*>(placed.control)) {
        shown.tick = new wxCheckBox(this, wxID_ANY, toolkitText(placed.label));
        shown.tick->SetForegroundColour(greyText);
        shown.tick->SetBackgroundColour(windowBackground);
        shown.tick->Bind(wxEVT_CHECKBOX, [this, number](wxCommandEvent& event) {
            colourTick(shown_[number]);
            controlChanged(*std::get<BoolBox*>(shown_[number].placed->control), event.IsChecked());
        });
    } else if (const Button* const* button = std::get_if<const Button*>(&placed.control)) {
        shown.button = new wxButton(this, wxID_ANY, toolkitText((*button)->caption));
        shown.button->Bind(wxEVT_BUTTON, [button](wxCommandEvent&) { controlChanged(**button); });
    } else {
        shown.box = new wxTextCtrl(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
        shown.box->SetBackgroundColour(boxBackground);
        shown.box->SetForegroundColour(boxText);
        shown.box->Bind(wxEVT_TEXT_ENTER,
                        [this, number](wxCommandEvent&) { enter(*shown_[number].placed, *shown_[number].box); });
        shown.box->Bind(wxEVT_CHAR_HOOK, [this, number](wxKeyEvent& event) {
            if (event.GetKeyCode() == WXK_ESCAPE)
                shown_[number].box->ChangeValue(shown_[number].set);
            else
                event.Skip();
        });
        constexpr int gap = 6;
        addLabel(placed.label, placed.x - gap, placed.base().top, true, &placed.base());
    }
    shown.control()->SetName(toolkitText(nameOf(placed)));
    shown.control()->SetToolTip(toolkitText(placed.wholeTip()));
    makeFlat(shown.control()->GetHandle());
    shown.control()->SetSize(scaled(placed.x, placed.base().top, placed.width, rowHeight));
    shown.control()->Disable();
    byId_[placed.base().controlId] = number;
    shown_.push_back(std::move(shown));
}

/// `x`: where it begins, or ends.
void DesktopPanel::addLabel(std::string_view text, int x, int row, bool endsThere, const Control* of) {
    if (text.empty())
        return;
    wxRect place = scaled(x, row, 0, rowHeight);
    place.width = GetTextExtent(toolkitText(text)).x;
    if (endsThere)
        place.x -= place.width;
    labels_.push_back({toolkitText(text), place, of});
}

void DesktopPanel::enable(Shown& shown, bool on) {
    if (shown.control()->IsEnabled() == on)
        return;
    shown.control()->Enable(on);
    colourTick(shown);
    for (const Label& label : labels_) {
        if (label.of == &shown.placed->base())
            RefreshRect(label.place);
    }
}

void DesktopPanel::colourTick(const Shown& shown) {
    if (shown.tick)
        shown.tick->SetForegroundColour(shown.tick->IsEnabled() && shown.tick->GetValue() ? highlightText : greyText);
}

wxRect DesktopPanel::scaled(int x, int y, int width, int height) const {
    return {FromDIP(wxPoint(x, y)), FromDIP(wxSize(width, height))};
}

wxRect DesktopPanel::placeOf(const DrawnText& drawn) const {
    constexpr int titleHeight = 26;
    return scaled(drawn.x, drawn.y, drawn.width, drawn.tone == Tone::title ? titleHeight : rowHeight);
}

wxRect DesktopPanel::messagePlace() const {
    return scaled(messageColumn, messageRow, windowWidth - 2 * messageColumn, rowHeight);
}

wxRect DesktopPanel::advicePlace() const {
    return scaled(messageColumn, adviceRow, windowWidth - 2 * messageColumn, adviceLines * adviceLineHeight);
}

void DesktopPanel::refreshWhatChanged() {
    if (!paintDue.exchange(false))
        return;
    std::swap(texts_, last_);
    buildWindowTexts(texts_);
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        if (i >= last_.size() || !(texts_[i] == last_[i]))
            RefreshRect(placeOf(texts_[i]));
    }
    std::string line, advice;
    bool isError = false;
    {
        const std::lock_guard lock(lineMutex);
        line = lineText;
        advice = lineAdvice;
        isError = lineIsError;
    }
    if (line != message_ || isError != messageIsError_)
        RefreshRect(messagePlace());
    if (advice != advice_)
        RefreshRect(advicePlace());
    message_ = std::move(line);
    advice_ = std::move(advice);
    messageIsError_ = isError;
}

void DesktopPanel::paint() {
    wxAutoBufferedPaintDC dc(this);
    wxRegion due = GetUpdateRegion();
    // On GTK that is one rectangle round all that is due, which may be the whole window for two words.
    if (clipBoxes(dc.GetImpl()->GetCairoContext(), clip_)) {
        due.Clear();
        for (const ClipBox& box : clip_)
            due.Union(wxRect(wxRound(box.left), wxRound(box.top), wxRound(box.width), wxRound(box.height)));
    }
    const auto draws = [&](const wxRect& place) {
        const bool isDue = due.Contains(place) != wxOutRegion;
        drawn_ += isDue ? 1 : 0;
        return isDue;
    };
    dc.SetBackground(wxBrush(windowBackground));
    dc.Clear();
    dc.SetFont(font_);
    for (const Label& label : labels_) {
        if (!draws(label.place))
            continue;
        const Shown* of = label.of != nullptr ? find(label.of->controlId) : nullptr;
        dc.SetTextForeground(of != nullptr && !of->control()->IsEnabled() ? greyText : normalText);
        dc.DrawLabel(label.text, label.place, wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
    }
    if (texts_.empty())
        buildWindowTexts(texts_);
    for (const DrawnText& drawn : texts_) {
        if (!drawn.text.empty() && draws(placeOf(drawn)))
            draw(dc, drawn);
    }
    if (!message_.empty() && draws(messagePlace()))
        drawMessage(dc);
    if (!advice_.empty() && draws(advicePlace()))
        drawAdvice(dc);
}

void DesktopPanel::draw(wxDC& dc, const DrawnText& drawn) const {
    wxRect place = placeOf(drawn);
    if (drawn.hasLamp) {
        const int size = FromDIP(lampSize), room = FromDIP(lampRoom);
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxBrush(colourOf(drawn.lamp)));
        dc.DrawEllipse(place.x, place.y + (place.height - size) / 2, size, size);
        place.x += room;
        place.width -= room;
    }
    dc.SetFont(drawn.tone == Tone::title ? titleFont_ : font_);
    dc.SetTextForeground(colourOf(drawn.tone));
    dc.DrawLabel(shortened(dc, drawn.text, place.width), place, wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
}

void DesktopPanel::drawMessage(wxDC& dc) const {
    const wxRect place = messagePlace();
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxBrush(messageIsError_ ? errorBackground : windowBackground));
    dc.DrawRectangle(place);
    dc.SetFont(font_);
    dc.SetTextForeground(messageText);
    dc.DrawLabel(shortened(dc, message_, place.width), place, wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
}

void DesktopPanel::drawAdvice(wxDC& dc) const {
    const wxRect whole = advicePlace();
    wxRect place(whole.x, whole.y, whole.width, whole.height / adviceLines);
    dc.SetFont(font_);
    dc.SetTextForeground(normalText);
    std::string_view rest = advice_;
    for (int line = 1; line <= adviceLines && !rest.empty(); ++line) {
        const std::size_t end = line < adviceLines ? firstLineEnd(dc, rest, place.width) : rest.size();
        dc.DrawLabel(shortened(dc, std::string(rest.substr(0, end)), place.width), place,
                     wxALIGN_LEFT | wxALIGN_CENTRE_VERTICAL);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        place.y += place.height;
    }
}

/// What was cut stands whole in a tip.
void DesktopPanel::tipAt(const wxPoint& at) {
    wxString whole;
    wxClientDC dc(this);
    dc.SetFont(font_);
    const auto isCut = [&](const std::string& text, const wxRect& place) {
        return place.Contains(at) && dc.GetTextExtent(toolkitText(text)).x > place.width;
    };
    for (const DrawnText& drawn : texts_) {
        wxRect place = placeOf(drawn);
        if (drawn.hasLamp)
            place.width -= FromDIP(lampRoom);
        if (isCut(drawn.text, place))
            whole = toolkitText(drawn.text);
    }
    if (isCut(message_, messagePlace()))
        whole = toolkitText(message_);
    if (!advice_.empty() && (messagePlace().Contains(at) || advicePlace().Contains(at)))
        whole = toolkitText(message_ + "\n" + advice_);
    if (whole == GetToolTipText())
        return;
    if (whole.empty())
        UnsetToolTip();
    else
        SetToolTip(whole);
}

} // namespace kes
