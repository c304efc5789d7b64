#pragma once

// For .cpp files only.

#include <functional>
#include <memory>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>

namespace orvo {

template <auto Release> struct PulseRelease {
    template <typename T> void operator()(T* object) const { Release(object); }
};

using PulseLoop = std::unique_ptr<pa_threaded_mainloop, PulseRelease<pa_threaded_mainloop_free>>;
using PulseContext = std::unique_ptr<pa_context, PulseRelease<pa_context_unref>>;
using PulseStream = std::unique_ptr<pa_stream, PulseRelease<pa_stream_unref>>;

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
