#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <thread>

/// Waits of threads without an event loop. Threads with one use `comesToHold`.
namespace orvo::test {

/// Polls until the condition holds; false if it does not within the limit. For conditions without an event, such as the
/// state of another program.
template <typename Condition> bool pollUntil(Condition condition, std::chrono::minutes limit = std::chrono::minutes(1))
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

/// Waits for a stop request; false if there is none within a minute.
inline bool waitForStop(const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any requested;
    std::unique_lock lock(mutex);
    requested.wait_for(lock, stop, std::chrono::minutes(1), [] { return false; });
    return stop.stop_requested();
}

} // namespace orvo::test
