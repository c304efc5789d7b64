#include "OrvoVideo/model/ProjectDocuments.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"

#include <QCoreApplication>
#include <QEvent>
#include <fcntl.h>
#include <format>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

ProjectDocuments::ProjectDocuments(const ProjectStore& store)
    : m_store(store)
{
}

ProjectDocuments::~ProjectDocuments()
{
    shutDown();
}

void ProjectDocuments::shutDown()
{
    m_worker.shutDown();
    deliverReports();
}

QCoro::Task<std::optional<ProjectDocuments::Opened>> ProjectDocuments::open(Uuid id)
{
    auto opened = co_await m_worker.run([this, id] { return read(id); });
    deliverReports();
    co_return opened;
}

void ProjectDocuments::save(const VideoProject& project, std::uint64_t version)
{
    {
        const std::scoped_lock lock(m_mutex);
        // Older than this version.
        m_pendingUnsaved.erase(project.id);
        m_unwritten.erase(project.id);
        const bool waiting = m_pending.contains(project.id);
        m_pending.insert_or_assign(project.id, Version{project, version});
        if (waiting)
            return;
    }
    m_worker.post([this, id = project.id] { writePending(id); });
}

void ProjectDocuments::saveUnsavedEdits(const VideoProject& project)
{
    {
        const std::scoped_lock lock(m_mutex);
        const bool waiting = m_pendingUnsaved.contains(project.id);
        m_pendingUnsaved.insert_or_assign(project.id, project);
        if (waiting)
            return;
    }
    m_worker.post([this, id = project.id] { writeUnsavedEdits(id); });
}

QCoro::Task<std::optional<ProjectDocuments::Changed>> ProjectDocuments::changedElsewhere(Uuid id)
{
    co_return co_await m_worker.run([this, id] -> std::optional<Changed> {
        const auto known = m_known.find(id);
        const auto stamp = stampOf(m_store.directory(id) / ProjectStore::documentName);
        if (known == m_known.end() || !stamp || known->second == *stamp)
            return std::nullopt;
        try {
            return Changed{m_store.load(id), *stamp};
        } catch (const std::exception&) {
            return std::nullopt;
        }
    });
}

QCoro::Task<std::optional<VideoProject>> ProjectDocuments::settleRecording(Uuid id, bool thisProcessRecords)
{
    co_return co_await m_worker.run([this, id, thisProcessRecords] { return settle(id, thisProcessRecords); });
}

std::optional<VideoProject> ProjectDocuments::settle(const Uuid& id, bool thisProcessRecords)
{
    // Check the recorder first: after it has ended, its document no longer changes.
    const bool isAlive =
        CaptureSession::isAlive(CaptureSession::recordingProcess(m_store.directory(id)), thisProcessRecords);
    try {
        auto project = m_store.load(id);
        if (isAlive || !CaptureSession::isMarkedRecording(project))
            return project;
        project.state = CaptureSession::interruptedState(project.state);
        try {
            m_store.save(project);
            const auto stamp = stampOf(m_store.directory(id) / ProjectStore::documentName);
            if (const auto known = m_known.find(id); known != m_known.end() && stamp)
                known->second = *stamp;
        } catch (const std::exception&) {
            // Read-only or full disk: still return it as interrupted.
        }
        return project;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void ProjectDocuments::accept(const Changed& changed)
{
    m_worker.post([this, id = changed.project.id, stamp = changed.stamp] { m_known.insert_or_assign(id, stamp); });
}

QCoro::Task<> ProjectDocuments::settled()
{
    co_await m_worker.run([] { });
    deliverReports();
}

bool ProjectDocuments::settle()
{
    m_worker.wait();
    std::map<Uuid, Version> again;
    {
        const std::scoped_lock lock(m_mutex);
        again.swap(m_unwritten);
    }
    for (const auto& [id, version] : again)
        save(version.project, version.number);
    m_worker.wait();
    deliverReports();
    const std::scoped_lock lock(m_mutex);
    return m_unwritten.empty();
}

std::optional<ProjectDocuments::Stamp> ProjectDocuments::stampOf(const fs::path& file)
{
    struct stat facts{};
    if (::stat(file.c_str(), &facts) != 0)
        return std::nullopt;
    return Stamp{facts.st_dev, facts.st_ino, facts.st_size, facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec};
}

std::optional<ProjectDocuments::Opened> ProjectDocuments::read(const Uuid& id)
{
    // Before reading the content, so that a change in between is detected later.
    const auto stamp = stampOf(m_store.directory(id) / ProjectStore::documentName);
    try {
        Opened opened{m_store.load(id), readUnsavedEdits(id)};
        if (stamp)
            m_known.insert_or_assign(id, *stamp);
        const std::scoped_lock lock(m_mutex);
        if (const auto unwritten = m_unwritten.find(id); unwritten != m_unwritten.end())
            opened.unsavedEdits = unwritten->second.project;
        return opened;
    } catch (const std::exception&) {
        m_known.insert_or_assign(id, Stamp()); // Matches no file, so that a save keeps the present one.
        return std::nullopt;
    }
}

std::optional<VideoProject> ProjectDocuments::readUnsavedEdits(const Uuid& id) const
{
    const fs::path folder = m_store.directory(id);
    const auto document = stampOf(folder / ProjectStore::documentName);
    const auto edits = stampOf(folder / unsavedEditsName);
    if (!edits || !document || edits->changed < document->changed)
        return std::nullopt;
    try {
        auto project = decodeDocument(readFile(folder / unsavedEditsName));
        if (project.id == id && project.schemaVersion == VideoProject::currentSchemaVersion)
            return project;
    } catch (const std::exception&) {
        // A power cut may have truncated it. The document is intact.
    }
    return std::nullopt;
}

void ProjectDocuments::writePending(const Uuid& id)
{
    Version version;
    {
        const std::scoped_lock lock(m_mutex);
        const auto pending = m_pending.extract(id);
        if (!pending)
            return;
        version = std::move(pending.mapped());
    }
    Report result{.id = id, .version = version.number};
    try {
        result.keptOther = keepOther(id);
        m_store.save(version.project);
        if (const auto stamp = stampOf(m_store.directory(id) / ProjectStore::documentName))
            m_known.insert_or_assign(id, *stamp);
        std::error_code ignored;
        fs::remove(m_store.directory(id) / unsavedEditsName, ignored);
    } catch (const std::exception& error) {
        result.failure = describe(error);
        const std::scoped_lock lock(m_mutex);
        if (!m_pending.contains(id))
            m_unwritten.insert_or_assign(id, std::move(version));
    }
    report(std::move(result));
}

void ProjectDocuments::writeUnsavedEdits(const Uuid& id)
{
    VideoProject project;
    {
        const std::scoped_lock lock(m_mutex);
        const auto pending = m_pendingUnsaved.extract(id);
        if (!pending)
            return;
        project = std::move(pending.mapped());
    }
    const fs::path file = m_store.directory(id) / unsavedEditsName;
    const fs::path temporary = fs::path(file) += ".tmp";
    std::error_code ignored;
    try {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << encodeDocument(project);
        out.close();
        if (out)
            fs::rename(temporary, file);
        else
            fs::remove(temporary, ignored);
    } catch (const std::exception&) {
        fs::remove(temporary, ignored);
    }
}

/// Keeps a document that another program has written in place of ours. Returns its new name; nullopt if there is none.
std::optional<std::string> ProjectDocuments::keepOther(const Uuid& id)
{
    const fs::path folder = m_store.directory(id);
    const auto known = m_known.find(id);
    const auto stamp = stampOf(folder / ProjectStore::documentName);
    if (known == m_known.end() || !stamp || known->second == *stamp)
        return std::nullopt;
    for (int number = 1;; ++number) {
        auto name = std::format("project-{}.json", number);
        std::error_code error;
        fs::create_hard_link(folder / ProjectStore::documentName, folder / name, error);
        if (error == std::errc::file_exists)
            continue;
        if (error) // The file system has no hard links.
            fs::copy_file(folder / ProjectStore::documentName, folder / name);
        known->second = *stamp; // Keeps it only once, even if the following save has to be retried.
        return name;
    }
}

void ProjectDocuments::report(Report report)
{
    const std::scoped_lock lock(m_mutex);
    m_reports.push_back(std::move(report));
    if (m_reports.size() == 1)
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool ProjectDocuments::event(QEvent* event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    deliverReports();
    return true;
}

void ProjectDocuments::deliverReports()
{
    std::vector<Report> reports;
    {
        const std::scoped_lock lock(m_mutex);
        reports.swap(m_reports);
    }
    for (const auto& report : reports) {
        if (report.keptOther)
            emit keptOther(report.id, QString::fromStdString(*report.keptOther));
        if (report.failure)
            emit saveFailed(report.id, report.version, QString::fromStdString(*report.failure));
        else
            emit saved(report.id, report.version);
    }
}

} // namespace orvo
