#pragma once

#include "OrvoVideo/model/DocumentWatch.h"
#include "OrvoVideo/model/LibraryWatch.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Playback.h"
#include "OrvoVideo/model/ProjectDocuments.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/model/lists/LibraryModel.h"

#include <QCoroTask>
#include <QObject>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

namespace orvo {

/// The library: lists the projects, opens one, and changes projects that are not open. Main thread only.
class ProjectLibrary : public QObject {
    Q_OBJECT
public:
    /// The collaborators of the library; all outlive it.
    struct Parts {
        const ProjectStore& store;
        ProjectDocuments& documents;
        OpenProject& open;
        Saving& saving;
        Playback& playback;
        Operation& operation;
        Workers& workers;
    };
    explicit ProjectLibrary(const Parts& parts);

    /// The projects as last listed, newest first.
    LibraryModel& list() { return m_list; }
    const LibraryModel& list() const { return m_list; }
    /// Whether the library was listed at least once.
    bool isListed() const { return m_isListed; }

    /// Lists the library again and marks interrupted recordings as recoverable. Returns at once. Ignored while recording.
    void refresh();

    /// Saves the changes of the open project and opens another one. Ignored while recording, and for a project that is being
    /// recorded (the status says so). If calls overlap, the last one wins.
    QCoro::Task<> select(VideoProject project);
    /// As `select`, by identifier. Loads a project that is not listed from disk.
    void open(const QString& projectId);
    /// Opens the project of a recording that has begun, and cancels a pending `select`. The open project must have been
    /// flushed.
    void openRecording(const VideoProject& project);

    /// Closes the open project because its folder no longer exists.
    void closeGone();
    /// Saves the changes of the open project and closes it. Ignored while recording.
    void close();

    /// Changes a project of the library, open or not, and saves it. Throws `captureError` if the project cannot be read.
    QCoro::Task<> change(Uuid id, std::function<void(VideoProject&)> change, OpenProject::Undo undo);
    /// As `OpenProject::updateApart`, for a project that may no longer be open.
    QCoro::Task<> update(Uuid id, std::function<void(VideoProject&)> change);

    /// Cancels a pending `select`.
    void shutDown() { ++m_opening; }

signals:
    void isListedChanged();
    /// `list` was read again.
    void listed();
    /// Another program has changed, added or removed these projects.
    void changedOnDisk(const std::set<orvo::Uuid>& projects);
    /// Another project was opened; its unsaved edits may follow.
    void opened();
    /// Another program has changed the open project.
    void reloaded(const std::optional<orvo::Publication>& publicationBefore);

private:
    void leaveNone();
    QCoro::Task<> readList();
    void show(std::vector<VideoProject> projects);
    QCoro::Task<> openUnlisted(Uuid id);
    void show(VideoProject project, std::optional<VideoProject> unsavedEdits);
    void watchDocument();
    QCoro::Task<> reloadWhenChangedElsewhere();
    void noteChanged(const std::set<Uuid>& projects);
    QCoro::Task<> reloadListed(std::set<Uuid> projects);

    // The version number for saves of projects that are not open.
    static constexpr std::uint64_t otherProject = 1;

    const Parts m_parts;
    LibraryModel m_list;
    DocumentWatch m_watch;
    LibraryWatch m_libraryWatch;
    bool m_isListed = false;
    bool m_listing = false;
    bool m_listAgain = false;
    std::uint64_t m_closedChanges = 0; ///< Counts changes to projects that are not open.
    std::uint64_t m_opening = 0; ///< Counts changes of the open project, so that a superseded `select` ends.
};

} // namespace orvo
