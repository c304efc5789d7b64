#pragma once

#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectDocuments.h"

#include <QObject>
#include <QTimer>
#include <cstdint>

namespace orvo {

/// Brings the changes of the open project to the disk. Main thread only; nothing here blocks but `settle`.
///
///                edited               `delay` without edits, `flush`             written
///     saved ───────────────► pending ────────────────────────────────► asked ──────────────► saved
///                             │    ▲                                      │ failed
///                   every `delay`  │                                      ▼
///        (unsaved edits are written)                              pending, without a timer
class Saving : public QObject {
    Q_OBJECT
public:
    /// Milliseconds between the last change and its save.
    static constexpr int delay = 400;

    /// Saves what `project` reports as edited. A failure goes to `operation`'s error message.
    Saving(OpenProject& project, ProjectDocuments& documents, Operation& operation);

    /// Saves `delay` after the last call. While calls follow one another faster, the changes are written as unsaved edits
    /// every `delay`, so that a crash never costs more.
    void saveSoon();

    /// Takes what is being typed (`commitWanted`), and asks for the changes that are not saved to be saved now.
    void flush();
    /// Takes what is being typed.
    void commitTyped() { emit commitWanted(); }
    /// As `flush`, without what is being typed.
    void saveEdits();

    /// Flushes, and blocks until everything is written. False when something could not be written; the edits are still
    /// there while the application runs.
    bool settle();

    /// Whether the open project has changes that are not on disk yet.
    bool unsavedChanges() const { return m_edited != m_written; }
    /// Counts the versions of the open project that had to be saved.
    std::uint64_t edits() const { return m_edited; }

    /// The open project is another one now, as it is on disk.
    void noteOpened();
    /// What was opened is newer than the disk: it is saved now.
    void noteRecovered() { noteEdit(OpenProject::Save::now); }

signals:
    void unsavedChangesChanged();
    /// The open project is about to be saved, exported, published, cut or left: a field that is being edited commits its
    /// text before this returns.
    void commitWanted();
    /// The document of the open project was written.
    void written();

private:
    void noteEdit(OpenProject::Save save);
    void noteWritten(const Uuid& id, std::uint64_t version);
    void noteFailed(const Uuid& id, std::uint64_t version, const QString& reason);
    void noteKeptOther(const QString& fileName);
    void saveNow();
    void keepUnsavedEdits();
    void setWritten(std::uint64_t version);

    OpenProject& m_project;
    ProjectDocuments& m_documents;
    Operation& m_operation;
    std::uint64_t m_edited = 1; ///< Counts the versions of the open project.
    std::uint64_t m_asked = 1; ///< The version that was last asked to be saved.
    std::uint64_t m_written = 1; ///< The version on disk.
    std::uint64_t m_quiet = 0; ///< The version whose save may fail unreported.
    QTimer m_autosave;
    QTimer m_burst; ///< Runs while edits follow one another without a save.
};

} // namespace orvo
