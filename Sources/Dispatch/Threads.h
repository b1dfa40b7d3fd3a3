// How the layer starts its own threads: detached, named, with all signals blocked that someone sends, so that these go
// to the program's threads.

#pragma once

namespace dispatch {

/// False if the system gives no thread.
bool startThread(const char* name, void (*body)(void* context), void* context);

/// The processors that this process may use, at least 1.
unsigned processorCount();

}  // namespace dispatch
