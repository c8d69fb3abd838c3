#include "window/toolkit_style.h"

#include "platform/display.h"

namespace kes {

namespace {

// Themes make boxes some 34 pixels high, more than a row of the window has.
constexpr const char* css = "entry, button, checkbutton { min-height: 0; padding-top: 0; padding-bottom: 0; }"
                            "entry { padding-left: 4px; padding-right: 2px; }"
                            "checkbutton { padding-left: 0; padding-right: 0; }"
                            "entry:disabled { background-image: none; background-color: #4a6078; color: #202020; }";
constexpr unsigned overThemes = 800; ///< GTK's priority of the user's own style

} // namespace

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

} // namespace kes
