#pragma once

#include "OrvoVideo/model/History.h"
#include "OrvoVideo/model/KeptHistories.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/lists/CutModel.h"
#include "OrvoVideo/model/lists/HistoryModel.h"
#include "OrvoVideo/model/lists/OverlayModel.h"
#include "OrvoVideo/model/lists/SuggestionModel.h"
#include "OrvoVideo/model/lists/TrackModel.h"
#include "OrvoVideo/model/lists/TranscriptModel.h"
#include "OrvoVideo/model/lists/ZoomModel.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/VideoProject.h"

#include <QObject>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace orvo {

/// The open project, its history, the gesture and the selection, and the lists that show it. Main thread only.
///
///               open                    update, undo, redo, change
///     nothing ────────► open, editable ────────────────────────────► `edited`: has to be saved
///                         │       ▲
///         setLocked(true) ▼       │ setLocked(false)
///                       locked: a recording writes the document, and nothing but `show` changes it
///
/// It neither reads nor writes the disk; `ProjectLibrary` opens and `Saving` saves.
class OpenProject : public QObject {
    Q_OBJECT
public:
    /// How soon a change has to be on disk.
    enum class Save : std::uint8_t {
        soon, ///< When edits pause.
        now,
        nowIgnoringErrors
    };

    /// What a change from outside of the editor does to the history.
    enum class Undo : std::uint8_t {
        step, ///< One more step.
        same, ///< The steps stay.
        none ///< The earlier versions are of no use any more.
    };

    /// `store` resolves the files that the lists show.
    explicit OpenProject(const ProjectStore& store);

    const std::optional<VideoProject>& value() const { return m_project; }
    explicit operator bool() const { return m_project.has_value(); }
    /// These two need an open project.
    const VideoProject& operator*() const { return *m_project; }
    const VideoProject* operator->() const { return &*m_project; }
    bool is(const Uuid& id) const { return m_project && m_project->id == id; }
    const ProjectFacts& facts() const { return m_facts; }

    TrackModel& tracks() { return m_tracks; }
    TranscriptModel& transcript() { return m_transcript; }
    CutModel& cuts() { return m_cuts; }
    ZoomModel& zooms() { return m_zooms; }
    OverlayModel& overlays() { return m_overlays; }
    SuggestionModel& suggestions() { return m_suggestions; }
    /// Those of one kind.
    SuggestionModel& suggestions(SuggestionKind kind) { return m_suggestionsOf[static_cast<std::size_t>(kind)]; }
    HistoryModel& steps() { return m_steps; }

    /// Makes a project the open one. Its history is the one with which it was left in this session, unless it has changed
    /// since. `unsavedEdits` that differ from it are opened in its place, one step ahead of it; returns whether they were,
    /// and have to be saved.
    bool open(VideoProject project, std::optional<VideoProject> unsavedEdits);
    /// Leaves no project open. Edits that are not saved are lost.
    void close();
    /// Shows another version as it is, outside of the history.
    void show(VideoProject version);
    /// Takes over what another program has written, as a step to undo. It is on disk already.
    void takeOver(const VideoProject& version);

    /// The one way in which edits reach the open project: applies `change` to a copy, dates it and makes it the open
    /// project, one step to undo. Ignored without an open project and while locked.
    void update(const std::function<void(VideoProject&)>& change);
    /// As `update`, but always a step of its own; a gesture under way continues with another step.
    void updateApart(const std::function<void(VideoProject&)>& change);
    /// A change from outside of the editor: it is not dated. Needs an open project.
    void change(const std::function<void(VideoProject&)>& change, Undo undo);

    /// While a value is dragged: from the first edit of the gesture on, edits change the same step.
    void setGesture(bool active);

    /// A project that is not open was changed by this program: its history follows.
    void followClosed(const VideoProject& before, const VideoProject& after, Undo undo);

    /// Steps back and forward through the versions of the project.
    void undo();
    void redo();
    /// Goes to the version of a row of `steps`; nothing happens for one that is not there.
    void goToStep(int row);
    /// What `undo` takes back and `redo` does again, in words; empty when there is nothing.
    std::string undoName() const { return m_history.undoName(); }
    std::string redoName() const { return m_history.redoName(); }
    bool canUndo() const { return m_history.canUndo() && !m_locked; }
    bool canRedo() const { return m_history.canRedo() && !m_locked; }

    /// Whether a recording keeps the project: then nothing is opened or edited.
    bool isLocked() const { return m_locked; }
    void setLocked(bool locked);

    /// The selected stretch of the recording timeline.
    Span selectedSpan() const { return m_selectedSpan; }
    void setSelectedSpan(const Span& span);

    /// Makes the suggestions anew from the transcript and the pointer events. Those shown follow the edits: what is done is
    /// not suggested, and is again once it is undone.
    void findSuggestions();
    /// Suggests this no more.
    void dropSuggestion(const Uuid& id);

signals:
    void projectChanged();
    void historyChanged();
    void selectedSpanChanged();
    /// `open` has finished: the selection is the first second.
    void opened();
    /// The project has another value that has to be saved.
    void edited(orvo::OpenProject::Save save);
    /// `update` has changed the tracks.
    void tracksEdited();
    /// A step through the history has changed the project, perhaps its tracks too.
    void stepped();

private:
    void setProject(VideoProject project);
    void showProject();
    void step(std::optional<VideoProject> version);
    void endStepOfGesture();
    void tellHistory();
    void offerSuggestions();

    const ProjectStore& m_store;
    std::optional<VideoProject> m_project;
    double m_length = 0; ///< Its `playableDuration`, while a project is open.
    ProjectFacts m_facts;
    TrackModel m_tracks;
    TranscriptModel m_transcript;
    CutModel m_cuts;
    ZoomModel m_zooms;
    OverlayModel m_overlays;
    SuggestionModel m_suggestions;
    std::array<SuggestionModel, 3> m_suggestionsOf; ///< By kind.
    std::vector<EditSuggestion> m_found; ///< What was found, done or not.
    HistoryModel m_steps;
    History m_history;
    KeptHistories m_left; ///< Of the projects that were open before.
    enum class Gesture : std::uint8_t { none, begun, recorded };
    Gesture m_gesture = Gesture::none;
    bool m_locked = false;
    Span m_selectedSpan;
};

} // namespace orvo
