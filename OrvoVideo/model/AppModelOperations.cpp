#include "OrvoVideo/model/AppModel.h"

#include "VideoCore/Error.h"

namespace orvo {

void AppModel::start(QCoro::Task<> task)
{
    watchOver(std::move(task));
}

/// The one place where a task ends that nobody waits for.
QCoro::Task<> AppModel::watchOver(QCoro::Task<> task)
{
    try {
        co_await task;
    } catch (const Cancelled&) {
        // Asked for, or the model is going.
    } catch (const std::exception& error) {
        setErrorMessage(QString::fromStdString(describe(error)));
    }
}

void AppModel::perform(LongOperation work)
{
    // While something is recorded only the recording may make the model busy: it has to end whenever that is asked for.
    if (!idle())
        return;
    m_operationStop = std::stop_source();
    setRefusedCopy(std::nullopt);
    setBusy(true);
    setProgress(0);
    start(runOperation(std::move(work)));
}

QCoro::Task<> AppModel::runOperation(LongOperation work)
{
    bool cancelled = false;
    std::optional<std::string> failure;
    try {
        co_await work({.stop = m_operationStop.get_token(), .progress = [this](double value) { setProgress(value); }});
    } catch (const Cancelled&) {
        cancelled = true;
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    if (failure)
        setErrorMessage(QString::fromStdString(*failure));
    if (failure)
        setStatus(QStringLiteral("No se ha completado la operación"));
    else if (cancelled)
        setStatus(QStringLiteral("Operación cancelada"));
    else if (m_status == QLatin1String("No se ha completado la operación"))
        setStatus(QStringLiteral("Listo para grabar")); // What failed before is over.
    setBusy(false);
    if (failure || cancelled)
        refreshLibrary();
}

void AppModel::cancel()
{
    if (!m_busy)
        return;
    setStatus(QStringLiteral("Cancelando…"));
    m_operationStop.request_stop(); // Who hears that may have more to say.
    m_secondPassed.give(false);
}

void AppModel::clearError()
{
    setErrorMessage({});
}

void AppModel::setBusy(bool busy)
{
    m_busy = busy;
    emit busyChanged();
    emit idleChanged();
}

void AppModel::setProgress(double progress)
{
    if (m_progress == progress)
        return;
    m_progress = progress;
    emit progressChanged();
}

void AppModel::setStatus(const QString& status)
{
    if (m_status == status)
        return;
    m_status = status;
    emit statusChanged();
}

void AppModel::setErrorMessage(const QString& message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

} // namespace orvo
