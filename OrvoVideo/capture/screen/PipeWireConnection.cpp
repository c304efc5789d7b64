#include "OrvoVideo/capture/screen/PipeWireConnection.h"

#include <fcntl.h>

namespace orvo {

Error PipeWire::endedError()
{
    return captureError("El escritorio ha dejado de compartir lo que se grababa.");
}

PipeWireStream::Connection::Connection(int descriptor)
{
    static const bool started = (pw_init(nullptr, nullptr), true);
    static_cast<void>(started);
    loop.reset(pw_thread_loop_new("screen", nullptr));
    if (loop)
        context.reset(pw_context_new(pw_thread_loop_get_loop(loop.get()), nullptr, 0));
    if (context)
        core.reset(pw_context_connect_fd(context.get(), descriptor, nullptr, 0));
    if (!core || pw_thread_loop_start(loop.get()) != 0)
        throw PipeWire::endedError();
}

PipeWireStream::Connection::~Connection()
{
    pw_thread_loop_stop(loop.get());
}

PipeWireStream::PipeWireStream(int descriptor, std::uint32_t node) noexcept
    : m_remote(descriptor)
    , m_node(node)
{
}

PipeWireStream::~PipeWireStream() = default;

PipeWireStream::Connection& PipeWireStream::connection() const
{
    const std::lock_guard lock(m_mutex);
    if (!m_connection) {
        // The connection closes its descriptor, so it gets a copy.
        m_connection = std::make_unique<Connection>(::fcntl(m_remote.get(), F_DUPFD_CLOEXEC, 0));
    }
    return *m_connection;
}

} // namespace orvo
