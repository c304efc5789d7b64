#pragma once

#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"

#include <QObject>
#include <atomic>
#include <condition_variable>
#include <coroutine>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

/// Runs blocking work on other threads for coroutines of the main thread.
///
/// Work is a plain function. A coroutine of the main thread writes
///
///     const auto facts = co_await workers.run({.stop = stop}, [file](const std::stop_token& token) { return read(file,
///     token); });
///
/// and resumes on the main thread with the result or the exception of the work. The work must own its data: capture by
/// value.
namespace orvo {

/// The stop token and the progress callback of one piece of work.
struct WorkControl {
    std::stop_token stop;
    /// Called on the main thread with the latest value; skips values that arrive faster than the main thread handles them.
    std::function<void(double)> progress;
};

class WorkRunner;

/// A running piece of work. It lives in the frame of the coroutine that awaits it.
class Work { // NOLINT(cppcoreguidelines-virtual-class-destructor): only derived types destroy it.
public:
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

protected:
    Work(WorkRunner& runner, WorkControl control);
    virtual ~Work() = default;

    virtual void call(const std::stop_token& stop, const ProgressCallback& progress) = 0;

    bool refusedBeforeStart();
    void start(std::coroutine_handle<> waiter);
    void rethrowFailure() const;

private:
    friend class WorkRunner;

    void execute() noexcept;

    WorkRunner& m_runner;
    WorkControl m_control;
    std::stop_source m_stop;
    std::stop_callback<std::function<void()>> m_stopLink;
    std::coroutine_handle<> m_waiter;
    std::exception_ptr m_failure;
    std::optional<double> m_progress; ///< Not yet delivered; guarded by the runner's mutex.
};

/// Runs work on other threads and resumes the awaiting coroutines on the main thread.
///
/// Main thread only; needs an event loop there. Shutting down resumes every awaiting coroutine with `Cancelled`: if the
/// destructor of an object first shuts its runners down, no coroutine that uses the object outlives it.
class WorkRunner : public QObject {
public:
    /// An awaitable that starts `call` and returns its result. `call` takes no argument, a stop token, or a stop token and a
    /// progress callback. Throws the exceptions of `call`, and `Cancelled` if the runner was shut down.
    template <typename Call> auto run(WorkControl control, Call call);
    template <typename Call> auto run(Call call) { return run(WorkControl{}, std::move(call)); }

protected:
    WorkRunner() = default;

    /// Calls `execute(work)` once on another thread.
    virtual void begin(Work& work) = 0;
    /// Called on the main thread after the work has ended, before its coroutine resumes.
    virtual void ended(Work& work) = 0;

    /// Runs the work. Worker threads only.
    void execute(Work& work);

    const std::vector<Work*>& underWay() const noexcept { return m_underWay; }
    static void requestStop(Work& work) { work.m_stop.request_stop(); }

    /// Refuses new work.
    void refuse() { m_refuses = true; }
    /// Delivers pending progress and resumes every coroutine whose work has ended.
    void deliver();

    bool event(QEvent* event) override;

private:
    friend class Work;

    void noteProgress(Work& work, double value);
    void wake();

    bool m_refuses = false;
    std::vector<Work*> m_underWay;

    std::mutex m_mutex; ///< Guards the members below, and `Work::m_progress`.
    std::vector<Work*> m_ended;
    bool m_awake = false;
};

/// Runs every piece of work on a thread of its own.
class Workers final : public WorkRunner {
public:
    Workers() = default;
    ~Workers() override { shutDown(); }

    /// Asks all work to stop, waits for its end and resumes the awaiting coroutines with `Cancelled`.
    void shutDown();

private:
    void begin(Work& work) override;
    void ended(Work& work) override;

    std::unordered_map<Work*, std::thread> m_threads;
};

/// One thread that runs tasks one after another, in the order of the calls.
class SerialWorker final : public WorkRunner {
public:
    SerialWorker();
    ~SerialWorker() override { shutDown(); }

    /// Runs `task` after all earlier tasks. It must not throw.
    void post(std::function<void()> task);

    /// Blocks until all earlier tasks are complete. The awaiting coroutines resume later, from the event loop.
    void wait();

    /// Completes all tasks, ends the thread and resumes the awaiting coroutines with `Cancelled`.
    void shutDown();

private:
    void begin(Work& work) override;
    void ended(Work&) override { }
    void serve();

    std::mutex m_queueMutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks;
    bool m_busy = false;
    bool m_closing = false;
    std::thread m_thread; ///< Last, because it uses all members above.
};

/// Calls `call` with the arguments that it accepts.
template <typename Call> auto callWork(Call& call, const std::stop_token& stop, const ProgressCallback& progress)
{
    if constexpr (std::is_invocable_v<Call&, const std::stop_token&, const ProgressCallback&>)
        return call(stop, progress);
    else if constexpr (std::is_invocable_v<Call&, const std::stop_token&>)
        return call(stop);
    else
        return call();
}

template <typename Call> class WorkAwaiter final : public Work {
    using Result = decltype(callWork(
        std::declval<Call&>(), std::declval<const std::stop_token&>(), std::declval<const ProgressCallback&>()));

public:
    WorkAwaiter(WorkRunner& runner, WorkControl control, Call call)
        : Work(runner, std::move(control))
        , m_call(std::move(call))
    {
    }

    bool await_ready() { return refusedBeforeStart(); }
    void await_suspend(std::coroutine_handle<> waiter) { start(waiter); }
    Result await_resume()
    {
        rethrowFailure();
        if constexpr (!std::is_void_v<Result>)
            return std::move(*m_result);
    }

private:
    void call(const std::stop_token& stop, const ProgressCallback& progress) override
    {
        if constexpr (std::is_void_v<Result>)
            callWork(m_call, stop, progress);
        else
            m_result.emplace(callWork(m_call, stop, progress));
    }

    struct Nothing { };
    Call m_call;
    std::optional<std::conditional_t<std::is_void_v<Result>, Nothing, Result>> m_result;
};

template <typename Call> auto WorkRunner::run(WorkControl control, Call call)
{
    return WorkAwaiter<Call>(*this, std::move(control), std::move(call));
}

} // namespace orvo
