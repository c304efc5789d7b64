#pragma once

#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace orvo {

/// A device's stream, opened and closed on a worker because both are slow. The last request wins. Main thread only.
template <class Stream> class DeviceStream {
public:
    DeviceStream() = default;
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;
    ~DeviceStream() { shutDown(); }

    /// Closes the stream, or one that is being opened. Does not wait.
    void close()
    {
        ++m_asked;
        if (m_stream)
            closeLater(std::exchange(m_stream, nullptr));
    }

    /// Opens the stream that `call` returns as a `std::unique_ptr`. Throws what `call` throws, and `Cancelled` when
    /// another request was made meanwhile or this object is being destroyed.
    template <class Call> QCoro::Task<> open(Call call)
    {
        const auto asked = m_asked;
        std::shared_ptr<Stream> stream;
        std::exception_ptr failure;
        try {
            stream = co_await m_worker.run([call = std::move(call)] { return std::shared_ptr<Stream>(call()); });
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        if (asked != m_asked) {
            if (stream)
                closeLater(std::move(stream));
            throw Cancelled();
        }
        if (failure)
            std::rethrow_exception(failure);
        m_stream = std::move(stream);
    }

    /// Null while no stream is open.
    Stream* get() const { return m_stream.get(); }

    /// Changes with every `close()`.
    std::uint64_t asked() const { return m_asked; }

    /// Waits until the stream and its threads have ended.
    void shutDown()
    {
        ++m_asked;
        m_stream.reset();
        m_worker.shutDown();
    }

private:
    void closeLater(std::shared_ptr<Stream> stream)
    {
        m_worker.post([stream = std::move(stream)] mutable { stream.reset(); });
    }

    std::uint64_t m_asked = 0;
    std::shared_ptr<Stream> m_stream; ///< Shared, because a worker's task must be copyable.
    SerialWorker m_worker;
};

} // namespace orvo
