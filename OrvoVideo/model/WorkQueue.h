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

/// Long work that recording, importing and editing go on beside: exports, publications, transcriptions. One job runs at a
/// time, the others wait their turn in the order they came. Main thread only.
///
///              add                    the job ends, fails or is cancelled
///     empty ─────────► one runs ────────────────────────────────────────► the next one runs; `drained` after the last
///
/// What a job says goes to the status and the error message of `Operation`, which stays the guard of what cannot go on
/// beside anything.
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
        QString title; ///< What the user reads while it runs or waits: "Exportar «Clase 3»".
        QString key; ///< A job with the key of one that runs or waits is ignored; empty for jobs that may repeat.
        Operation::Work work;
    };

    explicit WorkQueue(Operation& operation);

    /// Runs the job after those that were added before.
    void add(Job job);

    /// Whether a job runs or waits.
    bool busy() const { return m_running || !m_waiting.empty(); }
    /// Of the running job; empty without one.
    QString title() const { return m_running ? m_running->title : QString(); }
    QStringList waiting() const;
    /// Of the running job, 0..1.
    double progress() const { return m_progress; }
    /// How long the running job will still take, in words; empty while nobody can know.
    QString timeLeft() const;
    /// As `timeLeft`, for work that has come to `progress` in `elapsed` seconds.
    static QString timeLeftText(double elapsed, double progress);

    /// Asks the running job to stop.
    Q_INVOKABLE void cancel();
    /// Takes a waiting job out.
    Q_INVOKABLE void remove(int index);
    /// Takes all waiting jobs out and asks the running one to stop.
    Q_INVOKABLE void clear();

signals:
    void changed();
    void progressChanged();
    /// The last job is over.
    void drained();

private:
    void startNext();
    QCoro::Task<> run(Operation::Work work);

    Operation& m_operation;
    std::deque<Job> m_waiting;
    std::optional<Job> m_running; ///< Without its work.
    std::stop_source m_stop;
    double m_progress = 0;
    QElapsedTimer m_since; ///< When the running job last was at the beginning.
};

} // namespace orvo
