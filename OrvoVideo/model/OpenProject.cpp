#include "OrvoVideo/model/OpenProject.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Suggestions.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvo {

OpenProject::OpenProject(const ProjectStore& store)
    : m_store(store)
{
}

bool OpenProject::open(VideoProject project, std::optional<VideoProject> unsavedEdits)
{
    m_gesture = Gesture::none;
    // Reopening the same project discards its history.
    if (m_project && m_project->id != project.id)
        m_left.keep(*m_project, std::exchange(m_history, {}));
    m_found.clear();
    const bool recovered = unsavedEdits && *unsavedEdits != project;
    auto history = m_left.take(recovered ? *unsavedEdits : project);
    m_history = history ? std::move(*history) : History();
    if (recovered && !history)
        m_history.record(project, *unsavedEdits, History::Trim::toLimit, "cambios recuperados");
    setProject(recovered ? std::move(*unsavedEdits) : std::move(project));
    tellHistory();
    setSelectedSpan({0, std::min(m_project->duration, 1.0)});
    emit opened();
    return recovered;
}

void OpenProject::close()
{
    m_gesture = Gesture::none;
    m_history.clear();
    m_suggestions.setSuggestions({});
    m_project.reset();
    m_found.clear();
    showProject();
    tellHistory();
    setSelectedSpan({});
}

void OpenProject::show(VideoProject version)
{
    setProject(std::move(version));
}

void OpenProject::takeOver(const VideoProject& version)
{
    m_history.record(*m_project, version, History::Trim::toLimit, "cambios de otro programa");
    endStepOfGesture();
    setProject(version);
    setSelectedSpan(
        {std::min(m_selectedSpan.start, m_project->duration), std::min(m_selectedSpan.end, m_project->duration)});
    if (!m_found.empty())
        findSuggestions();
    tellHistory();
}

void OpenProject::update(const std::function<void(VideoProject&)>& change)
{
    if (!m_project || m_locked)
        return;
    VideoProject after = *m_project;
    change(after);
    after.updatedAt = now();
    if (m_gesture == Gesture::recorded)
        m_history.amend(*m_project, after, History::Naming::anew);
    else
        m_history.record(*m_project, after);
    if (m_gesture == Gesture::begun)
        m_gesture = Gesture::recorded;
    const bool otherTracks = !m_project->tracks.sharesStorageWith(after.tracks);
    setProject(std::move(after));
    tellHistory();
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
        m_history.amend(*m_project, after, History::Naming::keep);
    else
        m_history.clear();
    endStepOfGesture();
    setProject(std::move(after));
    tellHistory();
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

void OpenProject::goToStep(int row)
{
    if (m_project && !m_locked && row >= 0)
        step(m_history.goTo(static_cast<std::size_t>(row), *m_project));
}

void OpenProject::followClosed(const VideoProject& before, const VideoProject& after, Undo undo)
{
    m_left.follow(before, after, [&](History& history) {
        if (undo == Undo::step)
            history.record(before, after, History::Trim::no);
        else if (undo == Undo::same)
            history.amend(before, after, History::Naming::keep);
        else
            history.clear();
    });
}

void OpenProject::tellHistory()
{
    m_steps.show(m_history);
    emit historyChanged();
}

void OpenProject::step(std::optional<VideoProject> version)
{
    if (!version)
        return;
    endStepOfGesture();
    setProject(std::move(*version));
    tellHistory();
    emit edited(Save::nowIgnoringErrors);
    emit stepped();
}

void OpenProject::setLocked(bool locked)
{
    if (m_locked == locked)
        return;
    m_locked = locked;
    tellHistory();
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
    m_found = m_project ? Suggestions::generate(*m_project) : std::vector<EditSuggestion>();
    offerSuggestions();
}

void OpenProject::dropSuggestion(const Uuid& id)
{
    if (std::erase_if(m_found, [&](const EditSuggestion& found) { return found.id == id; }) > 0)
        offerSuggestions();
}

void OpenProject::offerSuggestions()
{
    if (m_found.empty() && m_suggestions.suggestions().empty())
        return;
    auto offered = m_project ? Suggestions::offered(*m_project, m_found) : std::vector<EditSuggestion>();
    const double length = m_project ? m_length : 0;
    for (const auto kind : {SuggestionKind::silence, SuggestionKind::filler, SuggestionKind::zoom}) {
        std::vector<EditSuggestion> ofKind;
        std::ranges::copy_if(offered, std::back_inserter(ofKind), [&](const auto& each) { return each.kind == kind; });
        const double left = ofKind.empty() ? length : Suggestions::applied(*m_project, ofKind).playableDuration();
        suggestions(kind).setOutcome(length - left, left);
        suggestions(kind).setSuggestions(SharedList(std::move(ofKind)));
    }
    m_suggestions.setSuggestions(SharedList(std::move(offered)));
}

void OpenProject::setProject(VideoProject project)
{
    const bool otherLength =
        !m_project || !m_project->edit.cuts.sharesStorageWith(project.edit.cuts) || m_project->duration != project.duration;
    const bool otherEdit = otherLength || !m_project->edit.events.sharesStorageWith(project.edit.events);
    m_project = std::move(project);
    if (otherLength)
        m_length = m_project->playableDuration();
    if (otherEdit)
        offerSuggestions();
    showProject();
}

void OpenProject::showProject()
{
    const VideoProject* shown = m_project ? &*m_project : nullptr;
    m_facts = shown ? ProjectFacts::of(*shown, m_length) : ProjectFacts();
    const auto resolve = [this](const std::string& file) {
        try {
            return QUrl::fromLocalFile(Text::from(m_store.mediaURL(*m_project, file)));
        } catch (const std::exception&) {
            return QUrl(); // It is outside the project.
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
