#pragma once

#include "OrvoVideo/library/LibrarySpace.h"
#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/ProjectDocuments.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/WorkQueue.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <set>
#include <vector>

namespace orvo {

/// Operations on whole projects in the library (rename, duplicate, trash), and its use of disk space. Main thread only.
class LibraryCare : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString trashed READ trashed NOTIFY trashedChanged)
    Q_PROPERTY(bool measuring READ measuring NOTIFY spaceChanged)
    Q_PROPERTY(double bytes READ bytes NOTIFY spaceChanged)
    Q_PROPERTY(QVariantList freeable READ freeable NOTIFY spaceChanged)
    Q_PROPERTY(QVariantList largest READ largest NOTIFY spaceChanged)
public:
    /// The collaborators of this object; all outlive it.
    struct Parts {
        const AppServices& services;
        OpenProject& open;
        Saving& saving;
        ProjectDocuments& documents;
        ProjectLibrary& library;
        Operation& operation;
        WorkQueue& queue;
        Workers& workers;
    };
    explicit LibraryCare(const Parts& parts);

    /// Changes the title of a project; ignores an empty title.
    Q_INVOKABLE void rename(const QString& projectId, const QString& title);
    /// Copies projects one after another, as jobs of the queue.
    Q_INVOKABLE void duplicate(const QStringList& projectIds);
    /// Shows the folder of a project in the file manager.
    Q_INVOKABLE void showFolder(const QString& projectId);

    /// Moves projects to the desktop's trash. If the user has to agree first, only emits `trashQuestion`. If one of them is
    /// being recorded or in use, moves none; the error message says why.
    Q_INVOKABLE void moveToTrash(const QStringList& projectIds);
    /// As `moveToTrash`, after the user has agreed.
    Q_INVOKABLE void moveToTrashAgreed(const QStringList& projectIds);
    /// Describes the last move to the trash; empty if there is nothing to restore.
    QString trashed() const { return m_trashedText; }
    /// Restores the projects of the last move.
    Q_INVOKABLE void undoTrash();
    /// Forgets the last move; its projects stay in the trash.
    Q_INVOKABLE void forgetTrash();

    /// Measures the library again, then emits `spaceChanged`.
    Q_INVOKABLE void measure();
    bool measuring() const { return m_measuring; }
    /// Bytes of all projects.
    double bytes() const;
    /// The kinds of files that can be deleted: "kind", "label", "note" and "bytes" of each.
    QVariantList freeable() const;
    /// The projects, largest first: "projectId", "title" and "bytes".
    QVariantList largest() const;
    /// Deletes the files of a kind in every project, except files in use, then measures.
    Q_INVOKABLE void free(const QString& kind);

signals:
    void trashedChanged();
    void trashQuestion(const QStringList& projectIds, const QString& text);
    void spaceChanged();

private:
    std::vector<VideoProject> projectsOf(const QStringList& ids) const;
    QCoro::Task<> askOrTrash(std::vector<VideoProject> projects, bool isAgreed);
    QCoro::Task<> restore();
    void setTrashed(std::vector<Uuid> ids, const QString& text);
    void readDiskFacts(const std::set<Uuid>& ids);
    QCoro::Task<> readFacts(std::vector<Uuid> ids);
    QCoro::Task<> measureAll();
    QCoro::Task<> freeAll(QString kind);

    const Parts m_parts;
    std::vector<Uuid> m_trashed; ///< The projects that `undoTrash` restores.
    QString m_trashedText;
    bool m_measuring = false;
    std::vector<LibrarySpace::Usage> m_usage; ///< As last measured.
    double m_cacheBytes = 0;
};

} // namespace orvo
