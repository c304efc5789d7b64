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

/// What the user does with whole projects in the list of the library, and what the library takes of the disk. Main thread
/// only.
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
    /// What this works with. All of it outlives this object.
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

    /// Gives a project another title; ignores an empty one.
    Q_INVOKABLE void rename(const QString& projectId, const QString& title);
    /// Copies projects one after another, beside everything else.
    Q_INVOKABLE void duplicate(const QStringList& projectIds);
    /// Shows the folder of a project in the file manager.
    Q_INVOKABLE void showFolder(const QString& projectId);

    /// Moves projects to the desktop's trash, all or none. `trashQuestion` is emitted instead when the user has to agree
    /// first; a project that is recorded or in use stays, and the error message says why.
    Q_INVOKABLE void moveToTrash(const QStringList& projectIds);
    /// As `moveToTrash`, when the user has agreed.
    Q_INVOKABLE void moveToTrashAgreed(const QStringList& projectIds);
    /// What was last moved to the trash, in words; empty when there is nothing to put back.
    QString trashed() const { return m_trashedText; }
    /// Puts it back.
    Q_INVOKABLE void undoTrash();
    /// Forgets it: it stays in the trash.
    Q_INVOKABLE void forgetTrash();

    /// Measures the library anew; `spaceChanged` follows.
    Q_INVOKABLE void measure();
    bool measuring() const { return m_measuring; }
    /// Bytes of all projects.
    double bytes() const;
    /// What can be freed: "kind", "label", "note" and "bytes" of each.
    QVariantList freeable() const;
    /// The projects that take most, largest first: "projectId", "title" and "bytes".
    QVariantList largest() const;
    /// Frees what is of a kind in every project but what is in use, then measures.
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
    std::vector<Uuid> m_trashed; ///< What `undoTrash` puts back.
    QString m_trashedText;
    bool m_measuring = false;
    std::vector<LibrarySpace::Usage> m_usage; ///< As last measured.
    double m_cacheBytes = 0;
};

} // namespace orvo
