#pragma once

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace orvo {

/// A single-use result: a callback gives it, a coroutine awaits it.
///
/// Copies share one answer: the callback keeps one, the coroutine awaits another:
///
///     const Answer<int> answer;
///     ask([answer](int value) { answer.give(value); });
///     const int value = co_await answer;
///
/// Main thread only, one coroutine at a time. `give` resumes it. A coroutine without an answer never resumes, so always call
/// the callback.
template <typename T> class Answer {
public:
    /// The first answer counts; later ones are ignored.
    void give(T value) const
    {
        // Keeps the state alive: the coroutine may destroy the last other copy.
        const auto state = m_state;
        if (state->given)
            return;
        state->given = true;
        state->value = std::move(value);
        if (const auto waiter = std::exchange(state->waiter, nullptr))
            waiter.resume();
    }

    bool isGiven() const noexcept { return m_state->given; }

    bool await_ready() const noexcept { return m_state->given; }
    void await_suspend(std::coroutine_handle<> waiter) const noexcept { m_state->waiter = waiter; }
    T await_resume() const { return *std::exchange(m_state->value, std::nullopt); }

private:
    struct State {
        bool given = false;
        std::optional<T> value;
        std::coroutine_handle<> waiter;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace orvo
