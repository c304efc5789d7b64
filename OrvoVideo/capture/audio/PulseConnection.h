#pragma once

// For .cpp files only.

#include "VideoCore/ReleasedBy.h"

#include <functional>
#include <memory>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>

namespace orvo {

using PulseLoop = std::unique_ptr<pa_threaded_mainloop, ReleasedBy<pa_threaded_mainloop_free>>;
using PulseContext = std::unique_ptr<pa_context, ReleasedBy<pa_context_unref>>;
using PulseStream = std::unique_ptr<pa_stream, ReleasedBy<pa_stream_unref>>;

/// Releases a request whose answer arrives in a callback.
inline void letGo(pa_operation* operation)
{
    if (operation)
        pa_operation_unref(operation);
}

/// A loop with its own thread, not yet started. Throws `captureError` when the system provides none.
PulseLoop makePulseLoop();

/// A context that is not connected yet.
PulseContext makePulseContext(pa_threaded_mainloop* loop);

} // namespace orvo
