#include "OrvoVideo/model/LibraryCare.h"

#include "OrvoVideo/library/ProjectCopy.h"
#include "OrvoVideo/library/ProjectRemoval.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileLock.h"
#include "VideoMedia/MovieImport.h"

#include <QScopeGuard>
#include <QStandardPaths>
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <optional>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

const QString cacheKind = QStringLiteral("cache");

/// Thumbnails and waveforms of all libraries; they are regenerated when shown.
fs::path cacheFolder()
{
    return fs::path(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation).toStdString()) / "OrvoVideo";
}

QString noteOf(LibrarySpace::Freeable kind)
{
    switch (kind) {
    case LibrarySpace::Freeable::publication:
        return QStringLiteral("Al volver a publicar se preparan otra vez.");
    case LibrarySpace::Freeable::originals:
        return QStringLiteral("Grabaciones ya convertidas, y vídeos e imágenes que quitaste.");
    case LibrarySpace::Freeable::leftovers:
        return QStringLiteral("De exportaciones que se cerraron a medias.");
    }
    return {};
}

} // namespace

LibraryCare::LibraryCare(const Parts& parts)
    : m_parts(parts)
{
    connect(&m_parts.library, &ProjectLibrary::listed, this, [this] {
        std::set<Uuid> ids;
        for (const auto& project : m_parts.library.list().projects())
            ids.insert(project.id);
        readDiskFacts(ids);
    });
    connect(&m_parts.library, &ProjectLibrary::changedOnDisk, this, &LibraryCare::readDiskFacts);
}

void LibraryCare::rename(const QString& projectId, const QString& title)
{
    const auto name = title.trimmed().toStdString();
    const Uuid id = Text::toId(projectId);
    if (name.empty() || !m_parts.library.list().find(id))
        return;
    m_parts.operation.start(m_parts.library.update(id, [name](VideoProject& project) {
        project.title = name;
        project.updatedAt = now();
    }));
}

void LibraryCare::duplicate(const QStringList& projectIds)
{
    m_parts.saving.flush();
    for (auto& project : projectsOf(projectIds)) {
        m_parts.queue.add({.title = QStringLiteral("Duplicar «%1»").arg(Text::from(project.title)),
            .work = [this, project = std::move(project)](WorkControl control) -> QCoro::Task<> {
                m_parts.operation.setStatus(QStringLiteral("Duplicando «%1»…").arg(Text::from(project.title)));
                co_await m_parts.documents.settled();
                const auto copy = co_await m_parts.workers.run(std::move(control),
                    [project, store = *m_parts.services.store](
                        const std::stop_token& stop, const ProgressCallback& progress) {
                        FileLock lock(
                            UniqueFd(::open(store.directory(project.id).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
                        lock.lock();
                        return copyProject(store, store.load(project.id), {}, progress, stop);
                    });
                m_parts.operation.setStatus(QStringLiteral("Duplicado como «%1»").arg(Text::from(copy.title)));
                m_parts.library.refresh();
            }});
    }
}

void LibraryCare::showFolder(const QString& projectId)
{
    m_parts.services.workspace->openFolder(m_parts.services.store->directory(Text::toId(projectId)));
}

std::vector<VideoProject> LibraryCare::projectsOf(const QStringList& ids) const
{
    std::vector<VideoProject> projects;
    for (const auto& id : ids) {
        if (const auto* project = m_parts.library.list().find(Text::toId(id)))
            projects.push_back(*project);
    }
    return projects;
}

void LibraryCare::moveToTrash(const QStringList& projectIds)
{
    m_parts.operation.start(askOrTrash(projectsOf(projectIds), false));
}

void LibraryCare::moveToTrashAgreed(const QStringList& projectIds)
{
    m_parts.operation.start(askOrTrash(projectsOf(projectIds), true));
}

QCoro::Task<> LibraryCare::askOrTrash(std::vector<VideoProject> projects, bool isAgreed)
{
    if (projects.empty())
        co_return;
    const auto refusal = co_await m_parts.workers.run(
        [projects, store = *m_parts.services.store, records = m_parts.open.isLocked()] -> std::optional<std::string> {
            for (const auto& project : projects) {
                if (auto text = ProjectRemoval::refusal(project, store, records))
                    return text;
            }
            return std::nullopt;
        });
    if (refusal)
        throw captureError(*refusal);
    QStringList ids;
    QStringList warnings;
    for (const auto& project : projects) {
        ids << Text::from(project.id);
        if (const auto warning = ProjectRemoval::warning(project))
            warnings << Text::from(*warning);
    }
    if (!isAgreed && !warnings.empty()) {
        emit trashQuestion(ids, warnings.join(QLatin1Char('\n')));
        co_return;
    }
    if (std::ranges::any_of(projects, [&](const auto& project) { return m_parts.open.is(project.id); }))
        m_parts.library.close();
    co_await m_parts.documents.settled(); // Pending saves belong in the trash too.
    std::vector<Uuid> gone;
    std::optional<std::string> failure;
    try {
        for (const auto& project : projects) {
            co_await m_parts.workers.run(
                [id = project.id, store = *m_parts.services.store] { ProjectRemoval::moveToTrash(id, store); });
            gone.push_back(project.id);
        }
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    if (!gone.empty())
        setTrashed(gone,
            gone.size() == 1 ? QStringLiteral("«%1» está en la papelera").arg(Text::from(projects.front().title))
                             : QStringLiteral("%1 vídeos están en la papelera").arg(gone.size()));
    m_parts.library.refresh();
    if (failure)
        throw captureError(*failure);
}

void LibraryCare::undoTrash()
{
    m_parts.operation.start(restore());
}

QCoro::Task<> LibraryCare::restore()
{
    const auto ids = m_trashed;
    setTrashed({}, {});
    co_await m_parts.workers.run([ids, store = *m_parts.services.store] {
        for (const auto& id : ids)
            ProjectRemoval::restore(id, store);
    });
    m_parts.library.refresh();
}

void LibraryCare::forgetTrash()
{
    setTrashed({}, {});
}

void LibraryCare::setTrashed(std::vector<Uuid> ids, const QString& text)
{
    m_trashed = std::move(ids);
    m_trashedText = text;
    emit trashedChanged();
}

void LibraryCare::readDiskFacts(const std::set<Uuid>& ids)
{
    m_parts.operation.start(readFacts({ids.begin(), ids.end()}));
}

QCoro::Task<> LibraryCare::readFacts(std::vector<Uuid> ids)
{
    std::set<Uuid> failed;
    for (const auto& project : m_parts.library.list().projects()) {
        if (project.state == ProjectState::importFailed)
            failed.insert(project.id);
    }
    const auto facts =
        co_await m_parts.workers.run([ids, failed, store = *m_parts.services.store](const std::stop_token& stop) {
            std::map<Uuid, LibraryModel::DiskFacts> read;
            for (const auto& id : ids) {
                if (stop.stop_requested())
                    break;
                auto& one = read[id];
                one.bytes = static_cast<double>(LibrarySpace::bytesOf(store.directory(id)));
                try {
                    if (failed.contains(id))
                        one.failure = Text::from(MovieImport::failure(store, id));
                } catch (const fs::filesystem_error&) { // NOLINT(bugprone-empty-catch): it was removed meanwhile.
                }
            }
            return read;
        });
    m_parts.library.list().setDiskFacts(facts);
}

void LibraryCare::measure()
{
    if (!std::exchange(m_measuring, true))
        m_parts.operation.start(measureAll());
    emit spaceChanged();
}

QCoro::Task<> LibraryCare::measureAll()
{
    const auto done = qScopeGuard([this] {
        m_measuring = false;
        emit spaceChanged();
    });
    std::vector<Uuid> ids;
    for (const auto& project : m_parts.library.list().projects())
        ids.push_back(project.id);
    auto [usage, cache] = co_await m_parts.workers.run([ids, store = *m_parts.services.store](const std::stop_token& stop) {
        std::vector<LibrarySpace::Usage> measured;
        for (const auto& id : ids) {
            if (stop.stop_requested())
                break;
            measured.push_back(LibrarySpace::measure(store, id));
        }
        return std::pair(std::move(measured), static_cast<double>(LibrarySpace::bytesOf(cacheFolder())));
    });
    // An undo may need the originals of the open project.
    for (auto& one : usage) {
        if (m_parts.open.is(one.project))
            one.freeable[static_cast<std::size_t>(LibrarySpace::Freeable::originals)] = 0;
    }
    m_usage = std::move(usage);
    m_cacheBytes = cache;
}

double LibraryCare::bytes() const
{
    return std::accumulate(m_usage.begin(), m_usage.end(), 0.0,
        [](double sum, const auto& usage) { return sum + static_cast<double>(usage.bytes); });
}

QVariantList LibraryCare::freeable() const
{
    QVariantList rows;
    const auto add = [&](const QString& kind, const QString& label, const QString& note, double bytes) {
        rows << QVariantMap{{QStringLiteral("kind"), kind}, {QStringLiteral("label"), label}, {QStringLiteral("note"), note},
            {QStringLiteral("bytes"), bytes}};
    };
    for (const auto kind : LibrarySpace::everyKind) {
        double sum = 0;
        for (const auto& usage : m_usage)
            sum += static_cast<double>(usage.freeable[static_cast<std::size_t>(kind)]);
        add(Text::from(std::string(LibrarySpace::textOf(kind))), Text::from(std::string(LibrarySpace::labelOf(kind))),
            noteOf(kind), sum);
    }
    add(cacheKind, QStringLiteral("Miniaturas y formas de onda"), QStringLiteral("Se hacen otra vez al abrir cada vídeo."),
        m_cacheBytes);
    return rows;
}

QVariantList LibraryCare::largest() const
{
    auto sorted = m_usage;
    std::ranges::sort(sorted, std::ranges::greater(), &LibrarySpace::Usage::bytes);
    QVariantList rows;
    for (const auto& usage : sorted) {
        const auto* project = m_parts.library.list().find(usage.project);
        if (project)
            rows << QVariantMap{{QStringLiteral("projectId"), Text::from(project->id)},
                {QStringLiteral("title"), Text::from(project->title)},
                {QStringLiteral("bytes"), static_cast<double>(usage.bytes)}};
    }
    return rows;
}

void LibraryCare::free(const QString& kind)
{
    if (!std::exchange(m_measuring, true))
        m_parts.operation.start(freeAll(kind));
    emit spaceChanged();
}

QCoro::Task<> LibraryCare::freeAll(QString kind)
{
    std::vector<Uuid> ids;
    const auto done = qScopeGuard([this] {
        m_measuring = false;
        emit spaceChanged();
    });
    const bool isOriginals = kind == Text::from(std::string(LibrarySpace::textOf(LibrarySpace::Freeable::originals)));
    if (isOriginals && m_parts.operation.busy()) // No document names a file that is still being imported.
        throw captureError("Espera a que termine la importación para liberar espacio.");
    for (const auto& project : m_parts.library.list().projects()) {
        if (!(isOriginals && m_parts.open.is(project.id)))
            ids.push_back(project.id);
    }
    const double freed = co_await m_parts.workers.run([ids, kind, store = *m_parts.services.store] {
        if (kind == cacheKind) {
            const auto size = LibrarySpace::bytesOf(cacheFolder());
            std::error_code ignored;
            fs::remove_all(cacheFolder(), ignored);
            return static_cast<double>(size);
        }
        std::uintmax_t sum = 0;
        for (const auto one : LibrarySpace::everyKind) {
            for (const auto& id : ids) {
                if (kind == Text::from(std::string(LibrarySpace::textOf(one))))
                    sum += LibrarySpace::free(store, id, one);
            }
        }
        return static_cast<double>(sum);
    });
    m_parts.operation.setStatus(QStringLiteral("Se han liberado %1").arg(Text::ofSize(freed)));
    readDiskFacts({ids.begin(), ids.end()});
    co_await measureAll();
}

} // namespace orvo
