#pragma once

// Included by .cpp files only.

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

/// Requests whose answers come to callbacks need no more care.
inline void letGo(pa_operation* operation)
{
    if (operation)
        pa_operation_unref(operation);
}

/// A loop with a thread of its own, which has not begun yet. Throws `captureError` when the system has none.
PulseLoop makePulseLoop();

/// A connection that has not begun yet.
PulseContext makePulseContext(pa_threaded_mainloop* loop);

} // namespace orvo
