#pragma once

#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

namespace orvo {

/// Runs one long operation at a time, and holds the status line and the last error of the application. Main thread only.
///
///                 perform                        cancel
///     idle ─────────────────────► busy ─────────────────────► busy, asked to stop
///       ▲                          │                           │
///       └──────────────────────────┴───────────────────────────┘
///         the work ends, fails or is cancelled (the latter two: `brokenOff`)
///
/// A recording reserves the operation: until it releases it, only `performReserved` starts work.
class Operation : public QObject {
    Q_OBJECT
public:
    /// A coroutine of the main thread. `control` has its stop token and its progress callback, 0..1.
    using Work = std::function<QCoro::Task<>(WorkControl control)>;

    /// The status texts for work that does not complete.
    struct Endings {
        QString failed = QStringLiteral("No se ha completado la operación");
        QString cancelled = QStringLiteral("Operación cancelada");
    };

    /// Starts `work` as the one long operation; ignored unless `idle`. An exception goes to `errorMessage` and `status`;
    /// `Cancelled` goes to `status` alone.
    void perform(Work work, Endings endings);
    void perform(Work work) { perform(std::move(work), Endings()); }

    /// Starts `work` of the recording that has reserved the operation; ignored while busy.
    void performReserved(Work work);
    /// Reserves the operation for a recording, or releases it.
    void setReserved(bool reserved);

    /// Asks the running operation to stop.
    void cancel();

    bool busy() const { return m_busy; }
    /// Whether a long operation or a recording can begin.
    bool idle() const { return !m_busy && !m_reserved; }
    double progress() const { return m_progress; }
    void setProgress(double progress);

    /// Reports the end of work: a failure in `errorMessage` and `status`, a cancellation in `status`.
    void conclude(const std::optional<std::string>& failure, bool cancelled, const Endings& endings);

    /// One line, never empty.
    QString status() const { return m_status; }
    void setStatus(const QString& status);
    /// Shows a failure in the status. The next success clears it with `clearFailedStatus`.
    void setFailedStatus(const QString& status);
    /// Restores the initial status if the status still shows a failure.
    void clearFailedStatus();
    /// The last error; empty without one.
    QString errorMessage() const { return m_errorMessage; }
    void setErrorMessage(const QString& message);
    void clearError() { setErrorMessage({}); }

    /// Runs a detached coroutine. An exception goes to `errorMessage`; `Cancelled` is ignored. The coroutine must end before
    /// this object is destroyed.
    void start(QCoro::Task<> task);

signals:
    void busyChanged();
    void idleChanged();
    void progressChanged();
    void statusChanged();
    void errorMessageChanged();
    /// The user has asked the running operation to stop.
    void cancelled();
    /// An operation has ended by failure or cancellation.
    void brokenOff();

private:
    void say(const std::optional<std::string>& failure, bool cancelled, const Endings& endings);
    void begin(Work work, Endings endings);
    QCoro::Task<> run(Work work, Endings endings);
    QCoro::Task<> watchOver(QCoro::Task<> task);
    void setBusy(bool busy);

    bool m_busy = false;
    bool m_reserved = false;
    std::stop_source m_stop;
    double m_progress = 0;
    static QString readyText() { return QStringLiteral("Listo para grabar"); }

    QString m_status = readyText();
    QString m_failedStatus; ///< The last status that showed a failure.
    QString m_errorMessage;
};

} // namespace orvo
