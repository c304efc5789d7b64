#pragma once

#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace orvo {

/// The stream of a device, opened and closed on a worker: both take their time. What is asked last counts. Main thread.
template <class Stream> class DeviceStream {
public:
    DeviceStream() = default;
    DeviceStream(const DeviceStream&) = delete;
    DeviceStream& operator=(const DeviceStream&) = delete;
    ~DeviceStream() { shutDown(); }

    /// Ends the stream, and one that is being opened. Does not wait for it.
    void close()
    {
        ++m_asked;
        if (m_stream)
            closeLater(std::exchange(m_stream, nullptr));
    }

    /// Calls `call`, which returns a `std::unique_ptr` to a stream. Throws what it throws, and `Cancelled` when something
    /// else was asked meanwhile or this object is going.
    template <class Call> QCoro::Task<> open(Call call)
    {
        const auto asked = m_asked;
        std::shared_ptr<Stream> stream;
        std::exception_ptr failure;
        try {
            stream = co_await m_worker.run([call = std::move(call)] { return std::shared_ptr<Stream>(call()); });
        } catch (const Cancelled&) {
            throw;
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

    /// Null while none is open.
    Stream* get() const { return m_stream.get(); }

    /// Another number after every `close()`.
    std::uint64_t asked() const { return m_asked; }

    /// Waits until the stream and its threads are gone.
    void shutDown()
    {
        ++m_asked;
        m_stream.reset();
        m_worker.shutDown();
    }

private:
    void closeLater(std::shared_ptr<Stream> stream)
    {
        m_worker.post([stream = std::move(stream)]() mutable { stream.reset(); });
    }

    std::uint64_t m_asked = 0;
    std::shared_ptr<Stream> m_stream; ///< Shared, since what a worker does can be copied.
    SerialWorker m_worker;
};

} // namespace orvo
