// SPDX-License-Identifier: MIT
// The client area of the desktop window: the controls, and the read-outs painted beside them. At most ten times a
// second it looks what has changed, and repaints only that. UI thread but for the two functions that say so.
#pragma once

#include "window/desktop_window.h"
#include "window/toolkit_style.h"
#include "window/window_layout.h"
#include "window/window_text.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/panel.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

namespace kes {

/// Read-outs have changed and are read at the next look. Any thread, any number of times.
void paintSoon();
/// What stands on the line for status or error from the next look on. Any thread.
void setMessageLine(std::string_view text, bool isError, std::string_view advice);

/// Black, and what stands on it.
extern const wxColour windowBackground;

/// The text for the toolkit; what is no UTF-8 is taken byte by byte.
wxString toolkitText(std::string_view utf8);

/// All that stands in the window. UI thread; an id that no control has is passed over.
class DesktopPanel : public wxPanel {
public:
    explicit DesktopPanel(wxWindow* parent);

    void enable(std::uint16_t id, bool on); ///< and the labels of the control
    void enableAll(bool on);
    void tick(std::uint16_t id, bool on); ///< of a tick box; no change by the user
    void fill(std::uint16_t id,
              const std::string& text); ///< of an edit box, UTF-8; likewise, and what Escape gives back

    std::vector<BoxOnWindow> boxes() const; ///< places in screen pixels
    std::uint64_t drawn() const { return drawn_; }

private:
    /// One control of the toolkit and what it belongs to.
    struct Shown {
        const PlacedControl* placed = nullptr;
        wxCheckBox* tick = nullptr;
        wxTextCtrl* box = nullptr;
        wxButton* button = nullptr;
        wxString set{}; ///< the text that the logic has set: Escape gives it back
        wxControl* control() const;
    };
    /// A word beside the controls.
    struct Label {
        wxString text;
        wxRect place;
        const Control* of; ///< grey while this one is disabled; null = never
    };

    Shown* find(std::uint16_t id);
    void make(const PlacedControl& placed);
    void addLabel(std::string_view text, int x, int row, bool endsThere, const Control* of);
    void enable(Shown& shown, bool on);
    static void colourTick(const Shown& shown);

    wxRect scaled(int x, int y, int width, int height) const;
    wxRect placeOf(const DrawnText& drawn) const;
    wxRect messagePlace() const;
    wxRect advicePlace() const;
    void refreshWhatChanged();
    void paint();
    void draw(wxDC& dc, const DrawnText& drawn) const;
    void drawMessage(wxDC& dc) const;
    void drawAdvice(wxDC& dc) const;
    void tipAt(const wxPoint& at);

    std::vector<Shown> shown_;
    std::map<std::uint16_t, std::size_t> byId_;
    std::vector<Label> labels_;
    std::vector<DrawnText> texts_, last_;
    std::string message_, advice_;
    bool messageIsError_ = false;
    std::uint64_t drawn_ = 0;
    std::vector<ClipBox> clip_; ///< scratch of `paint`
    wxFont font_, titleFont_;
    wxTimer timer_;
};

} // namespace kes
