#include "OrvoVideo/model/Workers.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <algorithm>

namespace orvo {

Work::Work(WorkRunner& runner, WorkControl control)
    : m_runner(runner)
    , m_control(std::move(control))
    , m_stopLink(m_control.stop, [this] { m_stop.request_stop(); })
{
}

bool Work::refusedBeforeStart()
{
    if (m_runner.m_refuses || m_stop.stop_requested())
        m_failure = std::make_exception_ptr(Cancelled());
    return m_failure != nullptr;
}

void Work::start(std::coroutine_handle<> waiter)
{
    Q_ASSERT(QThread::currentThread() == m_runner.thread());
    m_waiter = waiter;
    m_runner.m_underWay.push_back(this);
    try {
        m_runner.begin(*this);
    } catch (...) { // No thread available: the coroutine receives the exception.
        std::erase(m_runner.m_underWay, this);
        throw;
    }
}

void Work::execute() noexcept
{
    try {
        const ProgressCallback progress = [this](double value) { m_runner.noteProgress(*this, value); };
        call(m_stop.get_token(), progress);
    } catch (...) {
        m_failure = std::current_exception();
    }
}

void Work::rethrowFailure() const
{
    if (m_runner.m_refuses)
        throw Cancelled();
    if (m_failure)
        std::rethrow_exception(m_failure);
}

void WorkRunner::execute(Work& work)
{
    work.execute();
    const std::scoped_lock lock(m_mutex);
    m_ended.push_back(&work);
    wake();
}

void WorkRunner::noteProgress(Work& work, double value)
{
    if (!work.m_control.progress)
        return;
    const std::scoped_lock lock(m_mutex);
    work.m_progress = value;
    wake();
}

void WorkRunner::wake()
{
    // The event only wakes the main thread; the data is behind the mutex.
    if (!std::exchange(m_awake, true))
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool WorkRunner::event(QEvent* event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    {
        const std::scoped_lock lock(m_mutex);
        m_awake = false;
    }
    deliver();
    return true;
}

void WorkRunner::deliver()
{
    // A resumed coroutine may start work or shut this runner down, so each step checks again.
    for (;;) {
        Work* done = nullptr;
        Work* advanced = nullptr;
        std::optional<double> progress;
        {
            const std::scoped_lock lock(m_mutex);
            const auto found =
                std::ranges::find_if(m_underWay, [](const Work* work) { return work->m_progress.has_value(); });
            if (found != m_underWay.end()) {
                advanced = *found;
                progress = std::exchange(advanced->m_progress, std::nullopt);
            } else if (!m_ended.empty()) {
                done = m_ended.front();
                m_ended.erase(m_ended.begin());
            }
        }
        if (advanced) {
            // A copy: the callback may end the work's coroutine, which destroys the work.
            const auto callback = advanced->m_control.progress;
            callback(*progress);
        } else if (done) {
            ended(*done);
            std::erase(m_underWay, done);
            done->m_waiter.resume();
        } else {
            return;
        }
    }
}

void Workers::begin(Work& work)
{
    m_threads.emplace(&work, std::thread([this, &work] { execute(work); }));
}

void Workers::ended(Work& work)
{
    // After `shutDown` the thread is already joined.
    if (const auto thread = m_threads.extract(&work))
        thread.mapped().join();
}

void Workers::shutDown()
{
    refuse();
    for (Work* work : underWay())
        requestStop(*work);
    for (auto& [work, thread] : m_threads)
        thread.join();
    m_threads.clear();
    deliver();
}

SerialWorker::SerialWorker()
    : m_thread([this] { serve(); })
{
}

void SerialWorker::begin(Work& work)
{
    post([this, &work] { execute(work); });
}

void SerialWorker::post(std::function<void()> task)
{
    const std::scoped_lock lock(m_queueMutex);
    m_tasks.push_back(std::move(task));
    m_changed.notify_all();
}

void SerialWorker::serve()
{
    std::unique_lock lock(m_queueMutex);
    for (;;) {
        m_changed.wait(lock, [&] { return !m_tasks.empty() || m_closing; });
        if (m_tasks.empty())
            return;
        auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        m_busy = true;
        lock.unlock();
        task();
        task = nullptr; // Destroys its captures without holding the lock.
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}

void SerialWorker::wait()
{
    std::unique_lock lock(m_queueMutex);
    m_changed.wait(lock, [&] { return m_tasks.empty() && !m_busy; });
}

void SerialWorker::shutDown()
{
    if (!m_thread.joinable())
        return;
    refuse();
    {
        const std::scoped_lock lock(m_queueMutex);
        m_closing = true;
        m_changed.notify_all();
    }
    m_thread.join();
    deliver();
}

} // namespace orvo
