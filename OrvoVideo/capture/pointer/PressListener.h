#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace orvo {

/// A press callback, set on one thread and called on another.
class PressListener {
public:
    /// Replaces the callback, which may be empty; the old one is no longer called after the return. Must not be called
    /// from the callback.
    void set(std::function<void()> pressed)
    {
        const std::lock_guard lock(m_mutex);
        m_pressed = std::move(pressed);
    }

    void notify()
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
