// SPDX-License-Identifier: MIT
#include "window/toolkit_style.h"

#include "platform/display.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace kes {

namespace {

// Themes make boxes some 34 pixels high, more than a row of the window has.
constexpr const char* css = "entry, button, checkbutton { min-height: 0; padding-top: 0; padding-bottom: 0; }"
                            "entry { padding-left: 4px; padding-right: 2px; }"
                            "checkbutton { padding-left: 0; padding-right: 0; }"
                            "entry:disabled { background-image: none; background-color: #3a4c60; color: #c8d0d8; }";
constexpr unsigned overThemes = 800; ///< GTK's priority of the user's own style

void (*goOnWithout)() = nullptr;

using IoErrorHandler = int (*)(void* display);
IoErrorHandler toolkitsHandler = nullptr;

/// X11: the connection has failed. The toolkit's own handler ends the process.
int xHasGone(void* display) {
    goOnWithout();
    return toolkitsHandler != nullptr ? toolkitsHandler(display) : 0;
}

/// GLib's, of which a line of its log consists.
struct LogField {
    const char* key;
    const void* value;
    std::intptr_t length;
};
using LogWriter = int (*)(int level, const LogField* fields, std::size_t count, void* data);

/// A server that ends takes new connections for some moments after it has dropped the old ones.
bool displayEnds() {
    constexpr int looks = 10;
    constexpr std::chrono::milliseconds between(50);
    std::string reason;
    for (int i = 0; i < looks; ++i) {
        if (!platform::displayCanBeReached(reason))
            return true;
        std::this_thread::sleep_for(between);
    }
    return false;
}

/// Wayland: there is no hook, but the toolkit says a word before it ends the process, and hardly ever another one.
int toolkitSays(int level, const LogField* fields, std::size_t count, void* data) {
    constexpr int message = 1 << 5;
    const bool ofDisplay = std::any_of(fields, fields + count, [](const LogField& field) {
        return std::string_view(field.key) == "GLIB_DOMAIN" &&
               std::string_view(static_cast<const char*>(field.value)) == "Gdk";
    });
    if (ofDisplay && (level & message) != 0 && displayEnds())
        goOnWithout();
    static const auto byDefault = platform::loadedFunction<LogWriter>("g_log_writer_default");
    return byDefault(level, fields, count, data);
}

} // namespace

bool clipBoxes(void* nativeDrawing, std::vector<ClipBox>& boxes) {
    struct List { // cairo's
        int status;
        const ClipBox* boxes;
        int count;
    };
    static const auto copy = platform::loadedFunction<List* (*)(void*)>("cairo_copy_clip_rectangle_list");
    static const auto release = platform::loadedFunction<void (*)(List*)>("cairo_rectangle_list_destroy");
    if (nativeDrawing == nullptr || !copy || !release)
        return false;
    List* const list = copy(nativeDrawing);
    const bool known = list->status == 0;
    if (known)
        boxes.assign(list->boxes, list->boxes + list->count);
    release(list);
    return known;
}

void makeFlat(void* nativeControl) {
    if (nativeControl == nullptr)
        return;
    // GTK is in the process because wxWidgets is; its headers need not be on the machine for five calls.
    static const auto newProvider = platform::loadedFunction<void* (*)()>("gtk_css_provider_new");
    static const auto load =
        platform::loadedFunction<int (*)(void*, const char*, long, void**)>("gtk_css_provider_load_from_data");
    static const auto contextOf = platform::loadedFunction<void* (*)(void*)>("gtk_widget_get_style_context");
    static const auto addProvider =
        platform::loadedFunction<void (*)(void*, void*, unsigned)>("gtk_style_context_add_provider");
    if (!newProvider || !load || !contextOf || !addProvider)
        return;
    static void* const provider = [] {
        void* made = newProvider();
        load(made, css, -1, nullptr);
        return made;
    }();
    addProvider(contextOf(nativeControl), provider, overThemes);
}

void whenDisplayGoes(void (*goOn)()) {
    goOnWithout = goOn;
    if (const auto setHandler = platform::loadedFunction<IoErrorHandler (*)(IoErrorHandler)>("XSetIOErrorHandler"))
        toolkitsHandler = setHandler(xHasGone);
    static bool listens = false; // GLib takes one writer for the life of the process
    using SetWriter = void (*)(LogWriter, void* data, void (*freeData)(void*));
    const auto setWriter = platform::loadedFunction<SetWriter>("g_log_set_writer_func");
    if (setWriter && !std::exchange(listens, true))
        setWriter(toolkitSays, nullptr, nullptr);
}

} // namespace kes
