#pragma once

#include "OrvoVideo/model/Operation.h"
#include "VideoCore/Uuid.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>
#include <deque>
#include <optional>
#include <stop_token>

namespace orvo {

/// Runs long jobs (exports, publications, transcriptions) in the background of recording, importing and editing: one at a
/// time, in the order of `add`. Main thread only.
///
///              add                    the job ends, fails or is cancelled
///     empty ─────────► one runs ────────────────────────────────────────► the next one runs; `drained` after the last
///
/// Jobs report to the status and the error message of `Operation`, which still runs the exclusive operations.
class WorkQueue : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QStringList waiting READ waiting NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString timeLeft READ timeLeft NOTIFY progressChanged)
public:
    struct Job {
        QString title; ///< The name for the user: "Exportar «Clase 3»".
        QString key; ///< `add` ignores a job with the key of one that runs or waits; empty for jobs that may repeat.
        Operation::Work work;
    };

    explicit WorkQueue(Operation& operation);

    /// Runs the job after all earlier ones.
    void add(Job job);

    /// Whether a job runs or waits.
    bool busy() const { return m_running || !m_waiting.empty(); }
    /// The title of the running job; empty without one.
    QString title() const { return m_running ? m_running->title : QString(); }
    QStringList waiting() const;
    /// The progress of the running job, 0..1.
    double progress() const { return m_progress; }
    /// The remaining time of the running job in words; empty while unknown.
    QString timeLeft() const;
    /// As `timeLeft`, for work at `progress` after `elapsed` seconds.
    static QString timeLeftText(double elapsed, double progress);

    /// Asks the running job to stop.
    Q_INVOKABLE void cancel();
    /// Removes a waiting job.
    Q_INVOKABLE void remove(int index);
    /// Removes all waiting jobs and asks the running one to stop.
    Q_INVOKABLE void clear();

signals:
    void changed();
    void progressChanged();
    /// The last job has ended.
    void drained();

private:
    void startNext();
    QCoro::Task<> run(Operation::Work work);

    Operation& m_operation;
    std::deque<Job> m_waiting;
    std::optional<Job> m_running; ///< Without its work.
    std::stop_source m_stop;
    double m_progress = 0;
    QElapsedTimer m_since; ///< Since the running job or its present part began.
};

} // namespace orvo
