#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/CaptureSession.h"

#include <QScopeGuard>
#include <algorithm>

namespace orvo {

void AppModel::refreshLibrary()
{
    if (isRecording())
        return;
    if (m_listing)
        m_listAgain = true;
    else
        start(listLibrary());
}

QCoro::Task<> AppModel::listLibrary()
{
    m_listing = true;
    const auto done = qScopeGuard([this] { m_listing = false; });
    do {
        m_listAgain = false;
        co_await m_documents.settled(); // What is being saved is listed as it will be.
        auto projects = co_await m_workers.run([store = store()] { return store.list(); });
        for (auto& project : projects) {
            if (!CaptureSession::isMarkedRecording(project))
                continue;
            if (auto settled = co_await m_documents.settleRecording(project.id, busy() || isRecording()))
                project = std::move(*settled);
        }
        if (isRecording())
            co_return;
        showLibrary(std::move(projects));
    } while (m_listAgain);
}

void AppModel::showLibrary(std::vector<VideoProject> projects)
{
    for (auto& project : projects) {
        if (m_project && project.id == m_project->id && unsavedChanges())
            project = *m_project; // Newer than what was read.
    }
    m_library.setProjects(SharedList(std::move(projects)));
    for (const auto& project : m_library.projects()) {
        const bool waits = project.state == ProjectState::processingTab || project.state == ProjectState::recoverableTab;
        if (waits && !m_processing.contains(project.id))
            start(prepareListed(project));
    }
    if (!std::exchange(m_libraryListed, true))
        emit libraryListedChanged();
}

void AppModel::open(const QString& projectId)
{
    const Uuid id = Text::toId(projectId);
    if (const auto* project = m_library.find(id))
        start(select(*project));
    else
        start(openUnlisted(id));
}

/// Another program may have made it since the library was listed.
QCoro::Task<> AppModel::openUnlisted(Uuid id)
{
    auto project = co_await m_workers.run([store = store(), id] { return store.load(id); });
    refreshLibrary();
    co_await select(std::move(project));
}

QCoro::Task<> AppModel::select(VideoProject project)
{
    if (isRecording())
        co_return;
    const auto opening = ++m_opening;
    if (CaptureSession::isMarkedRecording(project)) {
        // The row may be older than the end of the recording.
        auto settled = co_await m_documents.settleRecording(project.id, busy());
        if (settled)
            m_library.replace(*settled);
        if (opening != m_opening || isRecording())
            co_return;
        if (!settled || CaptureSession::isMarkedRecording(*settled)) {
            setStatus(QStringLiteral("Termina esta grabación antes de editarla."));
            co_return;
        }
        project = std::move(*settled);
        refreshLibrary();
    }
    std::optional<ProjectDocuments::Opened> opened;
    std::uint64_t edited = 0;
    std::uint64_t changes = 0;
    do {
        // Reading waits its turn behind this save. Edits made while it does are saved, and read, too.
        flushSave();
        edited = m_edited;
        changes = m_closedChanges;
        opened = co_await m_documents.open(project.id);
        if (opening != m_opening || isRecording())
            co_return;
        flushSave();
    } while ((m_project && m_project->id == project.id && m_edited != edited) || m_closedChanges != changes);

    if (opened)
        openProject(std::move(opened->project), std::move(opened->unsavedEdits));
    else
        openProject(std::move(project), std::nullopt);
    co_await rebuildPreview();
}

void AppModel::openProject(VideoProject project, std::optional<VideoProject> unsavedEdits)
{
    m_gesture = Gesture::none;
    m_history.clear();
    m_suggestions.setSuggestions({});
    m_asked = m_edited;
    setWritten(m_edited);

    const bool recovered = unsavedEdits && *unsavedEdits != project;
    if (recovered)
        m_history.record(project, *unsavedEdits);
    setProject(recovered ? std::move(unsavedEdits) : std::optional(std::move(project)));
    emit historyChanged();
    m_library.setOpen(m_project->id);
    setSelectedSpan({0, std::min(m_project->duration, 1.0)});
    pause();
    setPlayhead(0);
    showPublication();
    if (recovered) {
        noteEdit();
        saveNow();
        m_library.replace(*m_project);
        setStatus(QStringLiteral("Se han recuperado los últimos cambios, que no se habían guardado."));
    }
    watchDocument();
}

} // namespace orvo
