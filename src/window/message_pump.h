// SPDX-License-Identifier: MIT
// The UI thread of a window without a toolkit: a queue of work, and the loop that does it.
#pragma once

namespace kes {

/// Queues a piece of work, which runs once. Any thread, at any time.
void postMessage(void (*work)());
/// Does what is posted, in its order, until the turn of the quit message; returns the code given to `postQuit`. UI
/// thread.
int runMessagePump();
/// Queues the end of `runMessagePump` behind what is posted. Any thread.
void postQuit(int code);

} // namespace kes
