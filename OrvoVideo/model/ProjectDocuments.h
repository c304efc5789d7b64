#pragma once

#include "OrvoVideo/model/Workers.h"
#include "VideoCore/ProjectStore.h"

#include <QCoroTask>
#include <QObject>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace orvo {

/// The documents of the library as the open project uses them: read and written one after the other, in the order asked, on
/// one thread beside the main thread.
///
/// What is asked to be saved is a value of its own from then on, and a cheap copy. Of several values of one project that
/// wait, only the newest is written. Main thread only.
///
/// Beside the document a project may have its unsaved edits ("unsaved-edits.json"): a copy of the document that is written
/// while edits follow one another so fast that the document itself is not written yet, and removed with the next save. It
/// is only ever found after a crash.
class ProjectDocuments final : public QObject {
    Q_OBJECT
public:
    static constexpr std::string_view unsavedEditsName = "unsaved-edits.json";

    explicit ProjectDocuments(const ProjectStore& store);
    /// Writes everything that was asked to be saved, and resumes who waits.
    ~ProjectDocuments() override;

    struct Opened {
        VideoProject project; ///< The document.
        /// What is newer than the document: a value that could not be saved, or what a crash left unsaved.
        std::optional<VideoProject> unsavedEdits;
    };

    /// Tells one content of a file from another without reading it.
    struct Stamp {
        std::uint64_t device = 0;
        std::uint64_t node = 0;
        std::int64_t size = 0;
        std::int64_t changed = 0; ///< Nanoseconds.

        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    /// A document as another program has left it.
    struct Changed {
        VideoProject project;
        Stamp stamp;
    };

    /// Reads a document for editing; nothing when it cannot be read. From now on it is noticed when another program changes
    /// it.
    QCoro::Task<std::optional<Opened>> open(Uuid id);

    /// Asks for a save. `version` comes back with `saved` or `saveFailed`. What could not be written is kept in memory for
    /// the next `open` or `settle`.
    ///
    /// A document that another program has changed since it was opened or saved is kept beside the new one, and
    /// `keptOther` tells its name.
    void save(const VideoProject& project, std::uint64_t version);

    /// Asks for the unsaved edits to be written. Not flushed to disk: they are there for a crash of this program. A failure
    /// is not reported.
    void saveUnsavedEdits(const VideoProject& project);

    /// The document of an open project when another program has changed it since it was opened or saved; nothing when it
    /// has not, or when it cannot be read now.
    QCoro::Task<std::optional<Changed>> changedElsewhere(Uuid id);

    /// Reads a document that is marked as being recorded and, when its recorder has ended, gives it the state of an
    /// interrupted recording and saves it. Reading and saving are one step: a recording that ends by itself meanwhile keeps
    /// the document it wrote. Returns the document as it is then, or nullopt when it cannot be read. A failed save is not
    /// reported; the next call tries again.
    QCoro::Task<std::optional<VideoProject>> settleRecording(Uuid id, bool thisProcessRecords);

    /// The changed document is the open one from now on.
    void accept(const Changed& changed);

    /// Returns when everything asked before is done and reported.
    QCoro::Task<> settled();

    /// As `settled`, for those who cannot wait for the event loop. Tries once more to write what could not be written.
    /// Returns whether everything is on disk.
    bool settle();

    /// Does everything that was asked and takes nothing more; resumes who waits, with `Cancelled`.
    void shutDown();

signals:
    void saved(const orvo::Uuid& id, quint64 version);
    void saveFailed(const orvo::Uuid& id, quint64 version, const QString& reason);
    void keptOther(const orvo::Uuid& id, const QString& fileName);

private:
    struct Version {
        VideoProject project;
        std::uint64_t number = 0;
    };

    struct Report {
        Uuid id;
        std::uint64_t version = 0;
        std::optional<std::string> failure;
        std::optional<std::string> keptOther;
    };

    static std::optional<Stamp> stampOf(const std::filesystem::path& file);

    // On the worker.
    std::optional<Opened> read(const Uuid& id);
    std::optional<VideoProject> readUnsavedEdits(const Uuid& id) const;
    std::optional<VideoProject> settle(const Uuid& id, bool thisProcessRecords);
    void writePending(const Uuid& id);
    void writeUnsavedEdits(const Uuid& id);
    std::optional<std::string> keepOther(const Uuid& id);
    void report(Report report);

    void deliverReports();
    bool event(QEvent* event) override;

    const ProjectStore m_store;
    std::unordered_map<Uuid, Stamp> m_known; ///< The documents as this program last read or wrote them. Worker only.

    std::mutex m_mutex; ///< Guards what follows.
    std::map<Uuid, Version> m_pending; ///< Asked to be saved, not begun.
    std::map<Uuid, VideoProject> m_pendingUnsaved;
    std::map<Uuid, Version> m_unwritten; ///< Could not be written.
    std::vector<Report> m_reports;

    SerialWorker m_worker; ///< Last: it goes first, and does what is left with everything above still there.
};

} // namespace orvo
