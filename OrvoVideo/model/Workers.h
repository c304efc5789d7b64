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

/// The way between the main thread and blocking work.
///
/// Work is a plain function. A coroutine of the main thread writes
///
///     const auto facts = co_await workers.run({.stop = stop}, [file](const std::stop_token& token) { return read(file,
///     token); });
///
/// and goes on, on the main thread, when the work has ended, with its result or its exception. The work owns what it needs:
/// it captures by value.
namespace orvo {

/// How one piece of work can be stopped from outside, and where its progress goes.
struct WorkControl {
    std::stop_token stop;
    /// Called on the main thread with the latest value; values that come faster than they are taken are left out.
    std::function<void(double)> progress;
};

class WorkRunner;

/// A piece of work under way. It lives in the frame of the coroutine that waits for it.
class Work { // NOLINT(cppcoreguidelines-virtual-class-destructor): its own types destroy it.
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

/// Runs work away from the main thread and resumes who waits for it there.
///
/// Made and used on the main thread, which must have an event loop. A runner that is shut down resumes every coroutine that
/// waits for it, with `Cancelled`: when an object shuts its runners down first thing in its destructor, no coroutine that
/// uses the object outlives it.
class WorkRunner : public QObject {
public:
    /// An awaitable that starts `call`, a function of nothing, of a stop token, or of a stop token and a progress callback,
    /// and gives its result. Throws what it throws, and `Cancelled` when the runner has been shut down.
    template <typename Call> auto run(WorkControl control, Call call);
    template <typename Call> auto run(Call call) { return run(WorkControl{}, std::move(call)); }

protected:
    WorkRunner() = default;

    /// Sees to it that `execute(work)` is called once on another thread.
    virtual void begin(Work& work) = 0;
    /// The work has ended, on the main thread, before its coroutine goes on.
    virtual void ended(Work& work) = 0;

    /// On a worker thread.
    void execute(Work& work);

    const std::vector<Work*>& underWay() const noexcept { return m_underWay; }
    static void requestStop(Work& work) { work.m_stop.request_stop(); }

    /// From now on work is refused. Afterwards no thread may be in `execute` any more.
    void refuse() { m_refuses = true; }
    /// Hands on the progress that was made and resumes every coroutine whose work has ended.
    void deliver();

    bool event(QEvent* event) override;

private:
    friend class Work;

    void noteProgress(Work& work, double value);
    void wake();

    bool m_refuses = false;
    std::vector<Work*> m_underWay;

    std::mutex m_mutex; ///< Guards what follows, and `Work::m_progress`.
    std::vector<Work*> m_ended;
    bool m_awake = false;
};

/// Every piece of work on a thread of its own.
class Workers final : public WorkRunner {
public:
    Workers() = default;
    ~Workers() override { shutDown(); }

    /// Asks all work to stop, waits for its end and resumes who waits for it, with `Cancelled`.
    void shutDown();

private:
    void begin(Work& work) override;
    void ended(Work& work) override;

    std::unordered_map<Work*, std::thread> m_threads;
};

/// One thread that does one thing after the other, in the order asked.
class SerialWorker final : public WorkRunner {
public:
    SerialWorker();
    ~SerialWorker() override { shutDown(); }

    /// Does `task` after everything asked before; nobody waits for it. It must not throw.
    void post(std::function<void()> task);

    /// Blocks until everything asked so far is done. The coroutines that wait for it go on later, from the event loop.
    void wait();

    /// Does everything that was asked, then ends the thread and resumes who waits, with `Cancelled`.
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
    std::thread m_thread; ///< Last: everything above is there when it starts.
};

/// Calls work with as much as it takes.
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
