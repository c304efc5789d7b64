#include "OrvoVideo/model/WorkQueue.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace orvo {

WorkQueue::WorkQueue(Operation& operation)
    : m_operation(operation)
{
}

void WorkQueue::add(Job job)
{
    const auto isSame = [&](const Job& other) { return !job.key.isEmpty() && other.key == job.key; };
    if ((m_running && isSame(*m_running)) || std::ranges::any_of(m_waiting, isSame))
        return;
    m_waiting.push_back(std::move(job));
    if (m_running)
        emit changed();
    else
        startNext();
}

void WorkQueue::startNext()
{
    if (m_running || m_waiting.empty())
        return;
    m_running = std::move(m_waiting.front());
    m_waiting.pop_front();
    auto work = std::exchange(m_running->work, nullptr);
    m_stop = std::stop_source();
    m_progress = 0;
    m_since.start();
    emit progressChanged();
    emit changed();
    m_operation.start(run(std::move(work)));
}

QCoro::Task<> WorkQueue::run(Operation::Work work)
{
    bool cancelled = false;
    std::optional<std::string> failure;
    try {
        co_await work({.stop = m_stop.get_token(), .progress = [this](double value) {
                           if (value < m_progress) // The next part of the job begins.
                               m_since.start();
                           m_progress = value;
                           emit progressChanged();
                       }});
    } catch (const Cancelled&) {
        cancelled = true;
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    m_running.reset();
    m_operation.conclude(failure, cancelled, {});
    if (m_waiting.empty())
        emit drained();
    else
        QMetaObject::invokeMethod(this, &WorkQueue::startNext, Qt::QueuedConnection); // After this coroutine has ended.
    emit changed();
}

QStringList WorkQueue::waiting() const
{
    QStringList titles;
    for (const auto& job : m_waiting)
        titles << job.title;
    return titles;
}

QString WorkQueue::timeLeft() const
{
    constexpr double milliseconds = 1000;
    return m_running ? timeLeftText(static_cast<double>(m_since.elapsed()) / milliseconds, m_progress) : QString();
}

QString WorkQueue::timeLeftText(double elapsed, double progress)
{
    constexpr double minElapsed = 3; // Seconds; before, the speed is unknown.
    constexpr double minProgress = 0.02;
    if (elapsed < minElapsed || progress < minProgress || progress >= 1)
        return {};
    const double seconds = elapsed * (1 - progress) / progress;
    const int minutes = static_cast<int>(std::lround(std::min(seconds / 60, 6000.0)));
    if (seconds < 45)
        return QStringLiteral("queda menos de un minuto");
    if (minutes <= 1)
        return QStringLiteral("queda 1 minuto");
    if (minutes < 60)
        return QStringLiteral("quedan %1 minutos").arg(minutes);
    return QStringLiteral("quedan %1 h %2 min").arg(minutes / 60).arg(minutes % 60);
}

void WorkQueue::cancel()
{
    if (!m_running)
        return;
    m_operation.setStatus(QStringLiteral("Cancelando…"));
    m_stop.request_stop();
}

void WorkQueue::remove(int index)
{
    if (index < 0 || index >= std::ssize(m_waiting))
        return;
    m_waiting.erase(m_waiting.begin() + index);
    emit changed();
}

void WorkQueue::clear()
{
    m_waiting.clear();
    emit changed();
    cancel();
}

} // namespace orvo
