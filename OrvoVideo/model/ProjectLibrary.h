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

/// The library: lists the projects, opens one of them, and changes those that are not open. Main thread only.
class ProjectLibrary : public QObject {
    Q_OBJECT
public:
    /// What the library works with. All of it outlives the library.
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
    /// Whether `list` shows what is there; false until it was listed for the first time.
    bool isListed() const { return m_isListed; }

    /// Lists the library again and marks recordings that were cut off as recoverable. Returns at once. Ignored while
    /// recording.
    void refresh();

    /// Opens a project of the library in place of the open one, whose changes are written first. While recording, and for a
    /// project that is being recorded (the status says so), nothing happens. If calls overlap, the last one wins.
    QCoro::Task<> select(VideoProject project);
    /// As `select`, for the project with this identifier. One that the library does not list is looked for on disk.
    void open(const QString& projectId);
    /// Opens the project of a recording that has begun. Whatever is being opened is given up. The open project must have
    /// been flushed.
    void openRecording(const VideoProject& project);

    /// Leaves no project open, because the open one's folder is gone.
    void closeGone();
    /// Writes the open project's changes and leaves nothing open. Ignored while recording.
    void close();

    /// Changes a project of the library, whether it is the open one or not, and saves it. Throws `captureError` when the
    /// project cannot be read.
    QCoro::Task<> change(Uuid id, std::function<void(VideoProject&)> change, OpenProject::Undo undo);
    /// As `OpenProject::updateApart`, for a project that may not be open any more.
    QCoro::Task<> update(Uuid id, std::function<void(VideoProject&)> change);

    /// Gives up what is being opened.
    void shutDown() { ++m_opening; }

signals:
    void isListedChanged();
    /// `list` shows the library as it was just read.
    void listed();
    /// Another program has changed these projects, or they have come or gone.
    void changedOnDisk(const std::set<orvo::Uuid>& projects);
    /// Another project is open; its unsaved edits may follow.
    void opened();
    /// The open project has changed outside of the application.
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

    // The number of a saved version of another project than the open one.
    static constexpr std::uint64_t otherProject = 1;

    const Parts m_parts;
    LibraryModel m_list;
    DocumentWatch m_watch;
    LibraryWatch m_libraryWatch;
    bool m_isListed = false;
    bool m_listing = false;
    bool m_listAgain = false;
    std::uint64_t m_closedChanges = 0; ///< Counts the changes to projects that are not open.
    std::uint64_t m_opening = 0; ///< Counts what changes which project is open, so that an overtaken `select` ends.
};

} // namespace orvo
