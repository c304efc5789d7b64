#include "OrvoVideo/model/OpenProject.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Suggestions.h"

#include <algorithm>
#include <utility>

namespace orvo {

OpenProject::OpenProject(const ProjectStore& store)
    : m_store(store)
{
}

bool OpenProject::open(VideoProject project, std::optional<VideoProject> unsavedEdits)
{
    m_gesture = Gesture::none;
    m_history.clear();
    m_suggestions.setSuggestions({});
    const bool recovered = unsavedEdits && *unsavedEdits != project;
    if (recovered)
        m_history.record(project, *unsavedEdits);
    setProject(recovered ? std::move(*unsavedEdits) : std::move(project));
    emit historyChanged();
    setSelectedSpan({0, std::min(m_project->duration, 1.0)});
    return recovered;
}

void OpenProject::close()
{
    m_gesture = Gesture::none;
    m_history.clear();
    m_suggestions.setSuggestions({});
    m_project.reset();
    showProject();
    emit historyChanged();
    setSelectedSpan({});
}

void OpenProject::show(VideoProject version)
{
    setProject(std::move(version));
}

void OpenProject::takeOver(const VideoProject& version)
{
    m_history.record(*m_project, version);
    endStepOfGesture();
    setProject(version);
    setSelectedSpan(
        {std::min(m_selectedSpan.start, m_project->duration), std::min(m_selectedSpan.end, m_project->duration)});
    if (!m_suggestions.suggestions().empty())
        findSuggestions();
    emit historyChanged();
}

void OpenProject::update(const std::function<void(VideoProject&)>& change)
{
    if (!m_project || m_locked)
        return;
    VideoProject after = *m_project;
    change(after);
    after.updatedAt = now();
    if (m_gesture == Gesture::recorded)
        m_history.amend(*m_project, after);
    else
        m_history.record(*m_project, after);
    if (m_gesture == Gesture::begun)
        m_gesture = Gesture::recorded;
    const bool otherTracks = !m_project->tracks.sharesStorageWith(after.tracks);
    setProject(std::move(after));
    emit historyChanged();
    emit edited(Save::soon);
    if (otherTracks)
        emit tracksEdited();
}

void OpenProject::updateApart(const std::function<void(VideoProject&)>& change)
{
    const auto gesture = std::exchange(m_gesture, Gesture::none);
    update(change);
    m_gesture = gesture == Gesture::none ? Gesture::none : Gesture::begun;
}

void OpenProject::change(const std::function<void(VideoProject&)>& change, Undo undo)
{
    VideoProject after = *m_project;
    change(after);
    if (undo == Undo::step)
        m_history.record(*m_project, after, History::Trim::no);
    else if (undo == Undo::same)
        m_history.amend(*m_project, after);
    else
        m_history.clear();
    endStepOfGesture();
    setProject(std::move(after));
    emit historyChanged();
    emit edited(Save::now);
}

void OpenProject::setGesture(bool active)
{
    m_gesture = active ? Gesture::begun : Gesture::none;
}

/// The drag continues in a step of its own.
void OpenProject::endStepOfGesture()
{
    if (m_gesture == Gesture::recorded)
        m_gesture = Gesture::begun;
}

void OpenProject::undo()
{
    if (m_project && !m_locked)
        step(m_history.undo(*m_project));
}

void OpenProject::redo()
{
    if (m_project && !m_locked)
        step(m_history.redo(*m_project));
}

void OpenProject::step(std::optional<VideoProject> version)
{
    if (!version)
        return;
    endStepOfGesture();
    setProject(std::move(*version));
    emit historyChanged();
    emit edited(Save::nowIgnoringErrors);
    emit stepped();
}

void OpenProject::setLocked(bool locked)
{
    if (m_locked == locked)
        return;
    m_locked = locked;
    emit historyChanged();
}

void OpenProject::setSelectedSpan(const Span& span)
{
    if (m_selectedSpan == span)
        return;
    m_selectedSpan = span;
    emit selectedSpanChanged();
}

void OpenProject::findSuggestions()
{
    m_suggestions.setSuggestions(m_project ? SharedList(Suggestions::generate(*m_project)) : SharedList<EditSuggestion>());
}

void OpenProject::setProject(VideoProject project)
{
    m_project = std::move(project);
    showProject();
}

void OpenProject::showProject()
{
    const VideoProject* shown = m_project ? &*m_project : nullptr;
    m_facts = shown ? ProjectFacts::of(*shown) : ProjectFacts();
    const auto resolve = [this](const std::string& file) {
        try {
            return QUrl::fromLocalFile(Text::from(m_store.mediaURL(*m_project, file)));
        } catch (const std::exception&) {
            return QUrl(); // It leads out of the project.
        }
    };
    m_tracks.show(shown, resolve);
    m_transcript.show(shown);
    m_cuts.show(shown);
    m_zooms.show(shown);
    m_overlays.show(shown, resolve);
    emit projectChanged();
}

} // namespace orvo
