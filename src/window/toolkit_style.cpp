#include "window/toolkit_style.h"

#include "platform/display.h"

#include <string>

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

/// Wayland: no hook is there, but the toolkit says a word before it ends the process.
void toolkitSays(const char* domain, int level, const char* text, void* data) {
    std::string reason;
    if (!platform::displayCanBeReached(reason))
        goOnWithout();
    static const auto byDefault =
        platform::loadedFunction<void (*)(const char*, int, const char*, void*)>("g_log_default_handler");
    byDefault(domain, level, text, data);
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
    constexpr int warnings = 1 << 4, messages = 1 << 5; // GLib's levels
    goOnWithout = goOn;
    if (const auto setHandler = platform::loadedFunction<IoErrorHandler (*)(IoErrorHandler)>("XSetIOErrorHandler"))
        toolkitsHandler = setHandler(xHasGone);
    using Log = void (*)(const char*, int, const char*, void*);
    if (const auto setLog = platform::loadedFunction<unsigned (*)(const char*, int, Log, void*)>("g_log_set_handler"))
        setLog("Gdk", warnings | messages, toolkitSays, nullptr);
}

} // namespace kes
