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

/// The open project with its history, gesture, selection and list models. Main thread only.
///
///               open                    update, undo, redo, change
///     nothing ────────► open, editable ────────────────────────────► `edited`: has to be saved
///                         │       ▲
///         setLocked(true) ▼       │ setLocked(false)
///                       locked: a recording writes the document, and nothing but `show` changes it
///
/// Does not access the disk: `ProjectLibrary` opens and `Saving` saves.
class OpenProject : public QObject {
    Q_OBJECT
public:
    /// How soon to save a change.
    enum class Save : std::uint8_t {
        soon, ///< After a pause in the edits.
        now,
        nowIgnoringErrors
    };

    /// The effect of a change from outside the editor on the history.
    enum class Undo : std::uint8_t {
        step, ///< Adds a step.
        same, ///< Keeps the steps.
        none ///< Clears the history: the earlier versions are obsolete.
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
    /// The suggestions of one kind.
    SuggestionModel& suggestions(SuggestionKind kind) { return m_suggestionsOf[static_cast<std::size_t>(kind)]; }
    HistoryModel& steps() { return m_steps; }

    /// Opens a project, with its history from earlier in this session unless it has changed since. If `unsavedEdits` differ
    /// from it, opens those instead, as one step after it. Returns whether it did: then they have to be saved.
    bool open(VideoProject project, std::optional<VideoProject> unsavedEdits);
    /// Closes the project. Unsaved edits are lost.
    void close();
    /// Replaces the version without a step in the history.
    void show(VideoProject version);
    /// Adopts a version that another program has written to disk, as an undo step.
    void takeOver(const VideoProject& version);

    /// Performs every edit of the user: applies `change` to a copy, dates it and makes it the open project, as one undo
    /// step. Ignored without an open project and while locked.
    void update(const std::function<void(VideoProject&)>& change);
    /// As `update`, but always a step of its own; a gesture in progress continues with another step.
    void updateApart(const std::function<void(VideoProject&)>& change);
    /// Applies a change from outside the editor, which does not change the date. Needs an open project.
    void change(const std::function<void(VideoProject&)>& change, Undo undo);

    /// Begins or ends a drag. All edits of one drag are one step.
    void setGesture(bool active);

    /// Updates the history of a project that this program has changed while it was not open.
    void followClosed(const VideoProject& before, const VideoProject& after, Undo undo);

    /// Steps back and forward through the versions of the project.
    void undo();
    void redo();
    /// Goes to the version of a row of `steps`; ignored if the row does not exist.
    void goToStep(int row);
    /// The names of the steps that `undo` and `redo` would take; empty without one.
    std::string undoName() const { return m_history.undoName(); }
    std::string redoName() const { return m_history.redoName(); }
    bool canUndo() const { return m_history.canUndo() && !m_locked; }
    bool canRedo() const { return m_history.canRedo() && !m_locked; }

    /// Whether a recording locks the project: then no project is opened or edited.
    bool isLocked() const { return m_locked; }
    void setLocked(bool locked);

    /// The selected span of the recording timeline.
    Span selectedSpan() const { return m_selectedSpan; }
    void setSelectedSpan(const Span& span);

    /// Generates the suggestions from the transcript and the pointer events. Edits hide the suggestions that they make
    /// unnecessary; an undo shows them again.
    void findSuggestions();
    /// Removes a suggestion.
    void dropSuggestion(const Uuid& id);

signals:
    void projectChanged();
    void historyChanged();
    void selectedSpanChanged();
    /// `open` has finished: the selection is the first second.
    void opened();
    /// The project has changed and has to be saved.
    void edited(orvo::OpenProject::Save save);
    /// `update` has changed the tracks.
    void tracksEdited();
    /// Undo or redo has changed the project, possibly its tracks too.
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
    std::vector<EditSuggestion> m_found; ///< All suggestions found, including hidden ones.
    HistoryModel m_steps;
    History m_history;
    KeptHistories m_left; ///< Of projects that were open earlier.
    enum class Gesture : std::uint8_t { none, begun, recorded };
    Gesture m_gesture = Gesture::none;
    bool m_locked = false;
    Span m_selectedSpan;
};

} // namespace orvo
