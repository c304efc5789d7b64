#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"
#include "VideoMedia/RecordingPreparation.h"
#include "VideoMedia/VideoEncoder.h"

#include <QScopeGuard>
#include <utility>

namespace orvo {

void AppModel::recover()
{
    if (!m_project || isRecording() || m_processing.contains(m_project->id))
        return;
    perform([this, project = *m_project](WorkControl control) -> QCoro::Task<> {
        setStatus(QStringLiteral("Preparando la grabación…"));
        co_await processTab(project, true, std::move(control));
    });
}

QCoro::Task<> AppModel::processTab(VideoProject project, bool force, WorkControl control)
{
    const auto which = force ? RecordingPreparation::Which::all : RecordingPreparation::Which::needed;
    std::optional<std::string> failure;
    QString done = QStringLiteral("Grabación preparada");
    try {
        const auto prepared = co_await m_workers.run(std::move(control),
            [project, which, store = store(), probe = m_services.probe](
                const std::stop_token& stop, const ProgressCallback& progress) {
                return RecordingPreparation::prepare(project, store, *probe, which, progress, stop);
            });
        co_await changeProject(
            project.id, [prepared](VideoProject& changed) { RecordingPreparation::apply(changed, prepared); }, Undo::none);
        const auto lost = captureError(prepared.lostText());
        setLost(project.id,
            {.reasons = prepared.lost, .failure = QString::fromStdString(RecordingPreparation::failureText(lost))});
        if (!prepared.lost.empty()) // What could be prepared is kept all the same.
            throw lost;
        CaptureSession::unmark(store().directory(project.id));
        if (prepared.hardwareFailed)
            done += QStringLiteral(". ") + Text::from(std::string(hardwareFailureText));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        failure = RecordingPreparation::failureText(error);
    }
    if (failure) {
        co_await changeProject(
            project.id, [](VideoProject& changed) { changed.state = ProjectState::needsRecovery; }, Undo::same);
        throw captureError(*failure);
    }
    if (force || !m_busy)
        setStatus(done);
}

void AppModel::setLost(const Uuid& id, LostTracks lost)
{
    if (lost.reasons.empty())
        m_lost.erase(id);
    else
        m_lost.insert_or_assign(id, std::move(lost));
    emit projectChanged();
}

QString AppModel::lostTracks() const
{
    const auto lost = m_project ? m_lost.find(m_project->id) : m_lost.end();
    if (lost == m_lost.end())
        return {};
    QStringList names;
    for (const auto& track : m_project->tracks) {
        if (lost->second.reasons.contains(track.id))
            names << Text::ofKind(track.kind);
    }
    return names.join(QStringLiteral(", "));
}

bool AppModel::errorIsLostTracks() const
{
    const auto lost = m_project ? m_lost.find(m_project->id) : m_lost.end();
    return lost != m_lost.end() && lost->second.failure == m_errorMessage;
}

void AppModel::continueWithoutLost()
{
    const auto lost = m_project ? m_lost.find(m_project->id) : m_lost.end();
    if (lost == m_lost.end())
        return;
    perform([this, id = m_project->id, tracks = lost->second.reasons](WorkControl) -> QCoro::Task<> {
        co_await changeProject(
            id, [tracks](VideoProject& changed) { RecordingPreparation::dropLost(changed, tracks); }, Undo::none);
        setLost(id, {});
        CaptureSession::unmark(store().directory(id));
        setStatus(QStringLiteral("Grabación preparada"));
    });
}

QCoro::Task<> AppModel::prepareListed(VideoProject project)
{
    m_processing.insert(project.id);
    const auto done = qScopeGuard([this, id = project.id] { m_processing.erase(id); });
    co_await processTab(project, false, {});
    refreshLibrary();
}

QCoro::Task<> AppModel::updateProject(Uuid id, std::function<void(VideoProject&)> change)
{
    if (!m_project || m_project->id != id) {
        co_await changeProject(id, std::move(change), Undo::step);
        co_return;
    }
    // A gesture that is under way goes on with another step.
    const auto gesture = std::exchange(m_gesture, Gesture::none);
    update(change);
    m_gesture = gesture == Gesture::none ? Gesture::none : Gesture::begun;
}

QCoro::Task<> AppModel::changeProject(Uuid id, std::function<void(VideoProject&)> change, Undo undo)
{
    const auto isOpen = [&] { return m_project && m_project->id == id; };
    std::optional<ProjectDocuments::Opened> closed;
    std::uint64_t changes = 0;
    do {
        if (isOpen())
            break;
        changes = m_closedChanges;
        saveEdits();
        closed = co_await m_documents.open(id);
        if (!closed)
            throw captureError("El proyecto ya no se puede leer.");
    } while (m_closedChanges != changes);
    if (!isOpen()) {
        ++m_closedChanges; // Who has read it meanwhile reads it again.
        VideoProject& project = closed->unsavedEdits ? *closed->unsavedEdits : closed->project;
        change(project);
        m_documents.save(project, otherProject);
        co_await m_documents.settled();
        m_library.replace(project);
        co_return;
    }
    // On what is there now: the project could be edited meanwhile.
    VideoProject after = *m_project;
    change(after);
    if (undo == Undo::step)
        m_history.record(*m_project, after, History::Trim::no);
    else if (undo == Undo::same)
        m_history.amend(*m_project, after);
    else
        m_history.clear();
    if (m_gesture == Gesture::recorded)
        m_gesture = Gesture::begun; // The drag continues in a step of its own.
    setProject(std::move(after));
    emit historyChanged();
    noteEdit();
    saveNow();
    m_library.replace(*m_project);
    co_await rebuildPreview();
}

} // namespace orvo
