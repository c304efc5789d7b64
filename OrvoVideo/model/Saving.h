#pragma once

#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectDocuments.h"

#include <QObject>
#include <QTimer>
#include <cstdint>

namespace orvo {

/// Saves the changes of the open project. Main thread only; only `settle` blocks.
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

    /// Saves `delay` after the last call. During a burst of calls, writes the changes as unsaved edits every `delay`, so
    /// that a crash loses no more than that.
    void saveSoon();

    /// Commits the text that is being typed (`commitWanted`) and requests a save of all unsaved changes.
    void flush();
    /// Commits the text that is being typed.
    void commitTyped() { emit commitWanted(); }
    /// As `flush`, without committing typed text.
    void saveEdits();

    /// Flushes and blocks until everything is written. Returns false if a write fails; the edits stay in memory while the
    /// application runs.
    bool settle();

    /// Whether the open project has changes that are not on disk yet.
    bool unsavedChanges() const { return m_edited != m_written; }
    /// Counts the versions of the open project that need a save.
    std::uint64_t edits() const { return m_edited; }

    /// Another project was opened, equal to its document.
    void noteOpened();
    /// The opened project is newer than its document: saves it now.
    void noteRecovered() { noteEdit(OpenProject::Save::now); }

signals:
    void unsavedChangesChanged();
    /// Emitted before the open project is saved, exported, published, cut or closed. A field that is being edited must
    /// commit its text at once.
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
    std::uint64_t m_asked = 1; ///< The version of the last requested save.
    std::uint64_t m_written = 1; ///< The version on disk.
    std::uint64_t m_quiet = 0; ///< The version whose failure is not reported.
    QTimer m_autosave;
    QTimer m_burst; ///< Runs during a burst of edits without a save.
};

} // namespace orvo
