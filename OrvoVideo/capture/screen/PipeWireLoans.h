#pragma once

// For .cpp files only.

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <pipewire/pipewire.h>
#include <vector>

namespace orvo {

/// The buffers of a stream that are read after its callback. May outlive the stream.
class PipeWireLoans : public std::enable_shared_from_this<PipeWireLoans> {
public:
    /// Calls `changed` on the loop's thread when a buffer has come back or `refuse` was called.
    PipeWireLoans(pw_loop* loop, std::function<void()> changed);
    PipeWireLoans(const PipeWireLoans&) = delete;
    PipeWireLoans& operator=(const PipeWireLoans&) = delete;

    /// Stops the calls of `changed`. Call with the loop locked, before the loop or the stream is destroyed.
    void close();

    /// Lends a buffer until the result is released, on any thread.
    std::shared_ptr<void> lend(pw_buffer* buffer);

    /// Forgets a buffer that no longer exists.
    void forget(const pw_buffer* buffer);

    /// The buffers that have come back since the last call.
    std::vector<pw_buffer*> takeReturned();

    /// Number of buffers that are lent.
    std::size_t count() const;

    /// Refuses further frames in graphics memory. Thread-safe.
    void refuse();
    bool isRefused() const;

private:
    void giveBack(pw_buffer* buffer);
    void signal();

    pw_loop* m_loop;
    std::function<void()> m_onChange;

    mutable std::mutex m_mutex; ///< Guards the members below.
    spa_source* m_event = nullptr;
    std::vector<pw_buffer*> m_lent;
    std::vector<pw_buffer*> m_returned;
    bool m_refused = false;
};

} // namespace orvo
