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

/// Reads and writes the documents of the library on one worker thread, in the order of the requests.
///
/// A save takes a copy of the project, which is cheap. If several saves of one project wait, only the newest is written.
/// Main thread only.
///
/// A project may have unsaved edits ("unsaved-edits.json") beside its document: a copy that is written during a burst of
/// edits, before the document itself, and removed with the next save. It is found only after a crash.
class ProjectDocuments final : public QObject {
    Q_OBJECT
public:
    static constexpr std::string_view unsavedEditsName = "unsaved-edits.json";

    explicit ProjectDocuments(const ProjectStore& store);
    /// As `shutDown`.
    ~ProjectDocuments() override;

    struct Opened {
        VideoProject project; ///< The document.
        /// Newer than the document: a version that could not be written, or edits from before a crash.
        std::optional<VideoProject> unsavedEdits;
    };

    /// Identifies one content of a file without reading it.
    struct Stamp {
        std::uint64_t device = 0;
        std::uint64_t node = 0;
        std::int64_t size = 0;
        std::int64_t changed = 0; ///< Nanoseconds.

        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    /// A document that another program has written.
    struct Changed {
        VideoProject project;
        Stamp stamp;
    };

    /// Reads a document for editing; returns nullopt if it cannot be read. From then on changes by other programs are
    /// detected.
    QCoro::Task<std::optional<Opened>> open(Uuid id);

    /// Requests a save; `saved` or `saveFailed` reports `version`. A version that could not be written stays in memory for
    /// the next `open` or `settle`.
    ///
    /// A document that another program has changed since it was opened or saved is kept under another name, which
    /// `keptOther` reports.
    void save(const VideoProject& project, std::uint64_t version);

    /// Requests that the unsaved edits be written. Does not flush them to disk: they only have to survive a crash of this
    /// program. Ignores failures.
    void saveUnsavedEdits(const VideoProject& project);

    /// Returns the document of an open project if another program has changed it since it was opened or saved; nullopt if it
    /// has not changed or cannot be read.
    QCoro::Task<std::optional<Changed>> changedElsewhere(Uuid id);

    /// Reads a document that is marked as being recorded. If its recorder has ended, changes its state to an interrupted
    /// recording and saves it. Reading and saving are one step, so a recording that ends meanwhile keeps its own document.
    /// Returns the resulting document, or nullopt if it cannot be read. Ignores a failed save; the next call tries again.
    QCoro::Task<std::optional<VideoProject>> settleRecording(Uuid id, bool thisProcessRecords);

    /// Adopts the changed document as the open one.
    void accept(const Changed& changed);

    /// Returns when all earlier requests are complete and reported.
    QCoro::Task<> settled();

    /// As `settled`, but blocks instead of waiting for the event loop. Retries failed writes once. Returns whether
    /// everything is on disk.
    bool settle();

    /// Completes all requests and accepts no more; waiting coroutines resume with `Cancelled`.
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

    std::mutex m_mutex; ///< Guards the members below, except `m_worker`.
    std::map<Uuid, Version> m_pending; ///< Requested saves that have not begun.
    std::map<Uuid, VideoProject> m_pendingUnsaved;
    std::map<Uuid, Version> m_unwritten; ///< Versions that could not be written.
    std::vector<Report> m_reports;

    SerialWorker m_worker; ///< Last, so that it is destroyed first and completes its work while all members still exist.
};

} // namespace orvo
