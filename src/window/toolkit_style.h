// What the toolkit's native controls cannot be told by wxWidgets itself. The one place that knows what lies below it.
#pragma once

namespace kes {

/// Lets a native control (a GtkWidget on GTK) be as low as the rows of the window. Does nothing elsewhere. UI thread.
void makeFlat(void* nativeControl);

} // namespace kes
