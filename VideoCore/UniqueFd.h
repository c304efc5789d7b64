#pragma once

#include <unistd.h>
#include <utility>

namespace orvo {

/// Owns an open file descriptor and closes it; −1 owns none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) noexcept
        : m_descriptor(descriptor)
    {
    }
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept
        : m_descriptor(other.release())
    {
    }
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        reset(other.release());
        return *this;
    }

    int get() const noexcept { return m_descriptor; }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }

    /// Releases the descriptor without closing it.
    int release() noexcept { return std::exchange(m_descriptor, -1); }

    /// Closes the descriptor and owns another.
    void reset(int descriptor = -1) noexcept
    {
        if (const int old = std::exchange(m_descriptor, descriptor); old >= 0)
            ::close(old);
    }

    /// Closes the descriptor and returns the result of close(2), which may report a late write error.
    int close() noexcept { return ::close(release()); }

private:
    int m_descriptor = -1;
};

} // namespace orvo
