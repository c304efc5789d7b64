#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "VideoCore/Error.h"
#include "VideoCore/ReleasedBy.h"

#include <memory>
#include <pipewire/pipewire.h>

namespace orvo {

/// Owners of PipeWire's objects.
namespace PipeWire {

inline void destroyRegistry(pw_registry* registry)
{
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
}

using Loop = std::unique_ptr<pw_thread_loop, ReleasedBy<pw_thread_loop_destroy>>;
using Context = std::unique_ptr<pw_context, ReleasedBy<pw_context_destroy>>;
using Core = std::unique_ptr<pw_core, ReleasedBy<pw_core_disconnect>>;
using Stream = std::unique_ptr<pw_stream, ReleasedBy<pw_stream_destroy>>;
using Registry = std::unique_ptr<pw_registry, ReleasedBy<destroyRegistry>>;

/// Holds the loop's lock; no callbacks run meanwhile.
class LoopLock {
public:
    explicit LoopLock(pw_thread_loop* loop)
        : m_loop(loop)
    {
        pw_thread_loop_lock(m_loop);
    }
    ~LoopLock() { pw_thread_loop_unlock(m_loop); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

private:
    pw_thread_loop* m_loop;
};

/// The error for the user when the desktop stops sharing.
Error endedError();

} // namespace PipeWire

/// A connection to PipeWire with the thread that serves it.
struct PipeWireStream::Connection {
    /// Takes ownership of `descriptor`. Throws `PipeWire::endedError` when no server answers.
    explicit Connection(int descriptor);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Destroyed in reverse order.
    PipeWire::Loop loop;
    PipeWire::Context context;
    PipeWire::Core core;
};

} // namespace orvo
