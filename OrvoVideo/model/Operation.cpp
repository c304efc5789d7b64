#include "OrvoVideo/model/Operation.h"

#include "VideoCore/Error.h"

#include <optional>
#include <string>
#include <utility>

namespace orvo {

void Operation::start(QCoro::Task<> task)
{
    watchOver(std::move(task));
}

/// Catches the exceptions of all detached coroutines.
QCoro::Task<> Operation::watchOver(QCoro::Task<> task)
{
    try {
        co_await task;
    } catch (const Cancelled&) {
        // Asked for, or the model is being destroyed.
    } catch (const std::exception& error) {
        setErrorMessage(QString::fromStdString(describe(error)));
    }
}

void Operation::perform(Work work, Endings endings)
{
    if (idle())
        begin(std::move(work), std::move(endings));
}

void Operation::performReserved(Work work)
{
    if (!m_busy)
        begin(std::move(work), {});
}

void Operation::begin(Work work, Endings endings)
{
    m_stop = std::stop_source();
    setBusy(true);
    setProgress(0);
    start(run(std::move(work), std::move(endings)));
}

QCoro::Task<> Operation::run(Work work, Endings endings)
{
    bool cancelled = false;
    std::optional<std::string> failure;
    try {
        co_await work({.stop = m_stop.get_token(), .progress = [this](double value) { setProgress(value); }});
    } catch (const Cancelled&) {
        cancelled = true;
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    say(failure, cancelled, endings);
    setBusy(false);
    if (failure || cancelled)
        emit brokenOff();
}

void Operation::say(const std::optional<std::string>& failure, bool cancelled, const Endings& endings)
{
    if (failure)
        setErrorMessage(QString::fromStdString(*failure));
    if (failure)
        setFailedStatus(endings.failed);
    else if (cancelled)
        setStatus(endings.cancelled);
    else
        clearFailedStatus();
}

void Operation::conclude(const std::optional<std::string>& failure, bool cancelled, const Endings& endings)
{
    say(failure, cancelled, endings);
    if (failure || cancelled)
        emit brokenOff();
}

void Operation::setReserved(bool reserved)
{
    if (m_reserved == reserved)
        return;
    m_reserved = reserved;
    emit idleChanged();
}

void Operation::cancel()
{
    if (!m_busy)
        return;
    setStatus(QStringLiteral("Cancelando…"));
    m_stop.request_stop(); // A listener may set another status.
    emit cancelled();
}

void Operation::setBusy(bool busy)
{
    m_busy = busy;
    emit busyChanged();
    emit idleChanged();
}

void Operation::setProgress(double progress)
{
    if (m_progress == progress)
        return;
    m_progress = progress;
    emit progressChanged();
}

void Operation::setStatus(const QString& status)
{
    if (m_status == status)
        return;
    m_status = status;
    emit statusChanged();
}

void Operation::setFailedStatus(const QString& status)
{
    setStatus(status);
    m_failedStatus = status;
}

void Operation::clearFailedStatus()
{
    if (!m_failedStatus.isEmpty() && m_status == m_failedStatus)
        setStatus(readyText());
    m_failedStatus.clear();
}

void Operation::setErrorMessage(const QString& message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

} // namespace orvo
