#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace orvo::test {

/// Runs the event loop until the condition holds; false when it does not within a generous limit.
inline bool comesToHold(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(60'000);
    QTimer alarm;
    alarm.start(20); // What other threads and programs do wakes no event loop.
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace orvo::test
