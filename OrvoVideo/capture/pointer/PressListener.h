#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace orvo {

/// The function that is told of presses, set on one thread and called on another.
class PressListener {
public:
    /// From the return on, only `pressed` is called, which may be empty. Not to be called from the function itself.
    void set(std::function<void()> pressed)
    {
        const std::lock_guard lock(m_mutex);
        m_pressed = std::move(pressed);
    }

    void tell()
    {
        const std::lock_guard lock(m_mutex);
        if (m_pressed)
            m_pressed();
    }

private:
    std::mutex m_mutex;
    std::function<void()> m_pressed;
};

} // namespace orvo
