#include "OrvoVideo/model/Recovery.h"

#include "OrvoVideo/library/RecordingRecovery.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/CaptureSession.h"
#include "VideoMedia/VideoEncoder.h"

#include <QScopeGuard>
#include <utility>

namespace orvo {

Recovery::Recovery(Parts parts)
    : m_parts(std::move(parts))
{
    connect(&m_parts.library, &ProjectLibrary::listed, this, [this] { processListed(); });
    connect(&m_parts.open, &OpenProject::projectChanged, this, &Recovery::lostTracksChanged);
    connect(&m_parts.operation, &Operation::errorMessageChanged, this, &Recovery::lostTracksChanged);
}

void Recovery::recover()
{
    const auto& open = m_parts.open;
    if (!open || open.isLocked() || m_processing.contains(open->id))
        return;
    m_parts.operation.perform([this, project = *open](WorkControl control) -> QCoro::Task<> {
        m_parts.operation.setStatus(QStringLiteral("Preparando la grabación…"));
        co_await process(project, true, std::move(control));
    });
}

QCoro::Task<> Recovery::process(VideoProject project, bool force, WorkControl control)
{
    const auto which = force ? RecordingPreparation::Which::all : RecordingPreparation::Which::needed;
    const auto recovered = co_await m_parts.workers.run(std::move(control),
        [project, which, store = m_parts.store, probe = m_parts.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return recoverRecording(project, store, *probe, which, LostTracks::kept, progress, stop);
        });
    co_await m_parts.library.change(
        project.id, [recovered](VideoProject& changed) { recovered.apply(changed); },
        recovered.isPrepared ? OpenProject::Undo::none : OpenProject::Undo::same);
    if (recovered.isPrepared)
        setLost(project.id, {.reasons = recovered.prepared.lost, .failure = Text::from(recovered.failure)});
    recovered.finish(m_parts.store.directory(project.id));
    QString done = QStringLiteral("Grabación preparada");
    if (recovered.prepared.hardwareFailed)
        done += QStringLiteral(". ") + Text::from(std::string(hardwareFailureText));
    if (force || !m_parts.operation.busy())
        m_parts.operation.setStatus(done);
}

void Recovery::setLost(const Uuid& id, Lost lost)
{
    if (lost.reasons.empty())
        m_lost.erase(id);
    else
        m_lost.insert_or_assign(id, std::move(lost));
    emit lostTracksChanged();
}

const Recovery::Lost* Recovery::lost() const
{
    const auto lost = m_parts.open ? m_lost.find(m_parts.open->id) : m_lost.end();
    return lost == m_lost.end() ? nullptr : &lost->second;
}

QString Recovery::lostTracks() const
{
    QStringList names;
    if (const auto* lost = this->lost()) {
        for (const auto& track : m_parts.open->tracks) {
            if (lost->reasons.contains(track.id))
                names << Text::ofKind(track.kind);
        }
    }
    return names.join(QStringLiteral(", "));
}

bool Recovery::errorIsLostTracks() const
{
    const auto* lost = this->lost();
    return lost && lost->failure == m_parts.operation.errorMessage();
}

void Recovery::continueWithoutLost()
{
    const auto* lost = this->lost();
    if (!lost)
        return;
    m_parts.operation.perform([this, id = m_parts.open->id, tracks = lost->reasons](WorkControl) -> QCoro::Task<> {
        co_await m_parts.library.change(
            id, [tracks](VideoProject& changed) { RecordingPreparation::dropLost(changed, tracks); },
            OpenProject::Undo::none);
        setLost(id, {});
        CaptureSession::unmark(m_parts.store.directory(id));
        m_parts.operation.setStatus(QStringLiteral("Grabación preparada"));
    });
}

void Recovery::processListed()
{
    for (const auto& project : m_parts.library.list().projects()) {
        const bool waits = project.state == ProjectState::processingTab || project.state == ProjectState::recoverableTab;
        if (waits && !m_processing.contains(project.id))
            m_parts.operation.start(processListed(project));
    }
}

QCoro::Task<> Recovery::processListed(VideoProject project)
{
    m_processing.insert(project.id);
    const auto done = qScopeGuard([this, id = project.id] { m_processing.erase(id); });
    co_await process(project, false, {});
    m_parts.library.refresh();
}

} // namespace orvo
