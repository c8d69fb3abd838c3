// SPDX-License-Identifier: MIT
// What the toolkit's native controls cannot be told by wxWidgets itself. The one place that knows what lies below it.
#pragma once

#include <vector>

namespace kes {

/// In the units of a drawing.
struct ClipBox {
    double left = 0, top = 0, width = 0, height = 0;
};
/// The parts of a window that a native drawing (a cairo_t on GTK) is about. False where only the toolkit can tell.
/// UI thread.
bool clipBoxes(void* nativeDrawing, std::vector<ClipBox>& boxes);

/// Lets a native control (a GtkWidget on GTK) be as low as the rows of the window. Does nothing elsewhere. UI thread.
void makeFlat(void* nativeControl);

/// `goOn` is called on the UI thread when the display's server has gone or has thrown the program out. Where it comes
/// back the process ends, as the toolkit wants it; while it does not, no more calls of the toolkit may be made. Does
/// nothing where displays stay (Windows). UI thread, once the toolkit has started.
void whenDisplayGoes(void (*goOn)());

} // namespace kes
