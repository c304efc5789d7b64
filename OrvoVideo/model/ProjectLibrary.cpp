#include "OrvoVideo/model/ProjectLibrary.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"

#include <QScopeGuard>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

namespace orvo {

ProjectLibrary::ProjectLibrary(const Parts& parts)
    : m_parts(parts)
    , m_libraryWatch(m_parts.store.root())
{
    connect(&m_parts.operation, &Operation::brokenOff, this, &ProjectLibrary::refresh);
    connect(&m_parts.open, &OpenProject::edited, this, [this](OpenProject::Save save) {
        if (save != OpenProject::Save::nowIgnoringErrors)
            m_list.replace(*m_parts.open);
    });
    connect(&m_parts.saving, &Saving::written, this, &ProjectLibrary::watchDocument);
    connect(&m_libraryWatch, &LibraryWatch::changed, this, &ProjectLibrary::noteChanged);
    connect(&m_watch, &DocumentWatch::changed, this, [this] { m_parts.operation.start(reloadWhenChangedElsewhere()); });
}

void ProjectLibrary::refresh()
{
    if (m_parts.open.isLocked())
        return;
    if (m_listing)
        m_listAgain = true;
    else
        m_parts.operation.start(readList());
}

QCoro::Task<> ProjectLibrary::readList()
{
    m_listing = true;
    const auto done = qScopeGuard([this] { m_listing = false; });
    do {
        m_listAgain = false;
        co_await m_parts.documents.settled(); // The list has to include pending saves.
        auto projects = co_await m_parts.workers.run([store = m_parts.store, watch = m_libraryWatch.watchingProjects()] {
            watch(); // Before listing, so that no change is missed in between.
            return store.list();
        });
        for (auto& project : projects) {
            if (!CaptureSession::isMarkedRecording(project))
                continue;
            if (auto settled = co_await m_parts.documents.settleRecording(
                    project.id, m_parts.operation.busy() || m_parts.open.isLocked()))
                project = std::move(*settled);
        }
        if (m_parts.open.isLocked())
            co_return;
        auto before = m_list.projects();
        show(std::move(projects));
        // Freeing the documents of a large library also takes long.
        co_await m_parts.workers.run([before = std::move(before)] mutable { before = {}; });
    } while (m_listAgain);
}

void ProjectLibrary::show(std::vector<VideoProject> projects)
{
    for (auto& project : projects) {
        if (m_parts.open.is(project.id) && m_parts.saving.unsavedChanges())
            project = *m_parts.open; // Newer than the listed one.
    }
    m_list.setProjects(SharedList(std::move(projects)));
    if (!std::exchange(m_isListed, true))
        emit isListedChanged();
    emit listed();
}

void ProjectLibrary::open(const QString& projectId)
{
    const Uuid id = Text::toId(projectId);
    if (const auto* project = m_list.find(id))
        m_parts.operation.start(select(*project));
    else
        m_parts.operation.start(openUnlisted(id));
}

/// Another program may have added it since the library was listed.
QCoro::Task<> ProjectLibrary::openUnlisted(Uuid id)
{
    auto project = co_await m_parts.workers.run([store = m_parts.store, id] { return store.load(id); });
    refresh();
    co_await select(std::move(project));
}

QCoro::Task<> ProjectLibrary::select(VideoProject project)
{
    if (m_parts.open.isLocked())
        co_return;
    const auto opening = ++m_opening;
    if (CaptureSession::isMarkedRecording(project)) {
        // The recording may have ended since the listing.
        auto settled = co_await m_parts.documents.settleRecording(project.id, m_parts.operation.busy());
        if (settled)
            m_list.replace(*settled);
        if (opening != m_opening || m_parts.open.isLocked())
            co_return;
        if (!settled || CaptureSession::isMarkedRecording(*settled)) {
            m_parts.operation.setStatus(QStringLiteral("Termina esta grabación antes de editarla."));
            co_return;
        }
        project = std::move(*settled);
        refresh();
    }
    std::optional<ProjectDocuments::Opened> opened;
    std::uint64_t edited = 0;
    std::uint64_t changes = 0;
    do {
        // The read is queued behind this save. Edits made meanwhile repeat the loop.
        m_parts.saving.flush();
        edited = m_parts.saving.edits();
        changes = m_closedChanges;
        opened = co_await m_parts.documents.open(project.id);
        if (opening != m_opening || m_parts.open.isLocked())
            co_return;
        m_parts.saving.flush();
    } while ((m_parts.open.is(project.id) && m_parts.saving.edits() != edited) || m_closedChanges != changes);

    if (opened)
        show(std::move(opened->project), std::move(opened->unsavedEdits));
    else
        show(std::move(project), std::nullopt);
    co_await m_parts.playback.rebuild();
}

void ProjectLibrary::openRecording(const VideoProject& project)
{
    ++m_opening;
    show(project, std::nullopt);
}

void ProjectLibrary::close()
{
    if (!m_parts.open || m_parts.open.isLocked())
        return;
    m_parts.saving.flush();
    leaveNone();
}

void ProjectLibrary::closeGone()
{
    m_parts.saving.noteOpened();
    leaveNone();
}

void ProjectLibrary::leaveNone()
{
    ++m_opening;
    m_parts.playback.clear();
    m_parts.playback.rewind();
    m_parts.open.close();
    m_list.setOpen(std::nullopt);
}

void ProjectLibrary::show(VideoProject project, std::optional<VideoProject> unsavedEdits)
{
    m_parts.saving.noteOpened();
    const bool recovered = m_parts.open.open(std::move(project), std::move(unsavedEdits));
    m_list.setOpen(m_parts.open->id);
    m_parts.playback.rewind();
    emit opened();
    if (recovered) {
        m_parts.saving.noteRecovered();
        m_list.replace(*m_parts.open);
        m_parts.operation.setStatus(QStringLiteral("Se han recuperado los últimos cambios, que no se habían guardado."));
    }
    watchDocument();
}

QCoro::Task<> ProjectLibrary::update(Uuid id, std::function<void(VideoProject&)> change)
{
    if (m_parts.open.is(id))
        m_parts.open.updateApart(change);
    else
        co_await this->change(id, std::move(change), OpenProject::Undo::step);
}

QCoro::Task<> ProjectLibrary::change(Uuid id, std::function<void(VideoProject&)> change, OpenProject::Undo undo)
{
    std::optional<ProjectDocuments::Opened> closed;
    std::uint64_t changes = 0;
    do {
        if (m_parts.open.is(id))
            break;
        changes = m_closedChanges;
        m_parts.saving.saveEdits();
        closed = co_await m_parts.documents.open(id);
        if (!closed)
            throw captureError("El proyecto ya no se puede leer.");
    } while (m_closedChanges != changes);
    if (m_parts.open.is(id)) {
        // Applies to the present version: the project may have been edited meanwhile.
        m_parts.open.change(change, undo);
        co_await m_parts.playback.rebuild();
        co_return;
    }
    ++m_closedChanges; // Forces concurrent readers to reload.
    VideoProject& project = closed->unsavedEdits ? *closed->unsavedEdits : closed->project;
    const VideoProject before = project;
    change(project);
    m_parts.open.followClosed(before, project, undo);
    m_parts.documents.save(project, otherProject);
    co_await m_parts.documents.settled();
    m_list.replace(project);
}

void ProjectLibrary::noteChanged(const std::set<Uuid>& projects)
{
    const auto isListed = [&](const Uuid& id) {
        std::error_code ignored;
        return m_list.find(id) && std::filesystem::exists(m_parts.store.directory(id), ignored);
    };
    if (std::ranges::all_of(projects, isListed))
        m_parts.operation.start(reloadListed(projects));
    else
        refresh();
    emit changedOnDisk(projects);
}

/// `reloadWhenChangedElsewhere` handles the open project.
QCoro::Task<> ProjectLibrary::reloadListed(std::set<Uuid> projects)
{
    co_await m_parts.documents.settled();
    const auto read = co_await m_parts.workers.run([store = m_parts.store, projects] {
        std::vector<VideoProject> result;
        for (const auto& id : projects) {
            try {
                result.push_back(store.load(id));
            } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the row stays as it is.
            }
        }
        return result;
    });
    for (const auto& project : read) {
        const auto* listed = m_list.find(project.id);
        if (listed && !m_parts.open.is(project.id) && !areSameDocument(project, *listed))
            m_list.replace(project);
    }
}

void ProjectLibrary::watchDocument()
{
    m_watch.watch(m_parts.store.directory(m_parts.open->id));
}

QCoro::Task<> ProjectLibrary::reloadWhenChangedElsewhere()
{
    auto& open = m_parts.open;
    // With unsaved edits, the next save keeps the other version under another name.
    if (!open || m_parts.saving.unsavedChanges() || open.isLocked())
        co_return;
    const auto opening = m_opening;
    const auto changed = co_await m_parts.documents.changedElsewhere(open->id);
    if (opening != m_opening || m_parts.saving.unsavedChanges() || open.isLocked())
        co_return;
    watchDocument();
    if (!changed)
        co_return;
    m_parts.documents.accept(*changed);
    if (areSameDocument(changed->project, *open))
        co_return;
    const auto publicationBefore = open->publication;
    open.takeOver(changed->project); // An undo step, so that the present version is not lost.
    m_list.replace(*open);
    emit reloaded(publicationBefore);
    m_parts.operation.setStatus(QStringLiteral("El proyecto ha cambiado fuera de Orvo Video y se ha vuelto a cargar."));
    m_parts.playback.follow();
}

} // namespace orvo
