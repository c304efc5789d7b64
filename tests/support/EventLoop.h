#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace orvo::test {

/// Runs the event loop until the condition holds; false if it does not within a minute.
inline bool comesToHold(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(60'000);
    QTimer alarm;
    alarm.start(20); // Other threads and programs do not wake the event loop.
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace orvo::test
