#include "OrvoVideo/capture/screen/PipeWireLoans.h"

#include <algorithm>
#include <utility>

namespace orvo {

PipeWireLoans::PipeWireLoans(pw_loop* loop, std::function<void()> changed)
    : m_loop(loop)
    , m_onChange(std::move(changed))
    , m_event(pw_loop_add_event(
          loop, [](void* self, std::uint64_t /*count*/) { static_cast<PipeWireLoans*>(self)->m_onChange(); }, this))
{
}

void PipeWireLoans::close()
{
    const std::lock_guard lock(m_mutex);
    if (m_event)
        pw_loop_destroy_source(m_loop, std::exchange(m_event, nullptr));
}

std::shared_ptr<void> PipeWireLoans::lend(pw_buffer* buffer)
{
    {
        const std::lock_guard lock(m_mutex);
        m_lent.push_back(buffer);
    }
    return {buffer, [loans = shared_from_this()](pw_buffer* lent) { loans->giveBack(lent); }};
}

void PipeWireLoans::giveBack(pw_buffer* buffer)
{
    const std::lock_guard lock(m_mutex);
    // A forgotten buffer is no longer listed.
    if (std::erase(m_lent, buffer) > 0) {
        m_returned.push_back(buffer);
        signal();
    }
}

void PipeWireLoans::forget(const pw_buffer* buffer)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_lent, buffer);
    std::erase(m_returned, buffer);
}

std::vector<pw_buffer*> PipeWireLoans::takeReturned()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_returned, {});
}

std::size_t PipeWireLoans::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_lent.size();
}

void PipeWireLoans::refuse()
{
    const std::lock_guard lock(m_mutex);
    if (!std::exchange(m_refused, true))
        signal();
}

bool PipeWireLoans::isRefused() const
{
    const std::lock_guard lock(m_mutex);
    return m_refused;
}

void PipeWireLoans::signal()
{
    if (m_event)
        pw_loop_signal_event(m_loop, m_event);
}

} // namespace orvo
