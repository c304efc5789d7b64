#include "OrvoVideo/model/Exports.h"

#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/ModelText.h"
#include "Platform/settings/StoredSettings.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ExportFormats.h"

#include <QElapsedTimer>
#include <QStandardPaths>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// The folder of the last export if it still exists, else the desktop's folder for videos.
fs::path startFolder()
{
    std::error_code ignored;
    if (const auto last = StoredSettings::text(StoredSettings::exportFolder); last && fs::is_directory(*last, ignored))
        return *last;
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation).toStdString();
}

} // namespace

Exports::Exports(const Parts& parts)
    : m_parts(parts)
    , m_pace(ExportPace::parse(StoredSettings::text(StoredSettings::exportPace).value_or("")))
{
}

void Exports::exportOpen()
{
    if (m_parts.open)
        exportProject(Text::from(m_parts.open->id), false);
}

void Exports::exportProject(const QString& projectId, bool onlySelection)
{
    m_parts.saving.flush();
    const auto* project = find(projectId);
    if (project && !CaptureSession::isMarkedRecording(*project)) // A copy: later edits do not affect this export.
        m_parts.operation.start(pickDestination(*project, settingsFor(*project, onlySelection)));
}

const VideoProject* Exports::find(const QString& projectId) const
{
    const Uuid id = Text::toId(projectId);
    return m_parts.open.is(id) ? &*m_parts.open : m_parts.library.list().find(id);
}

ExportSettings Exports::settingsFor(const VideoProject& project, bool onlySelection) const
{
    auto settings = m_parts.choice.settings(project, m_parts.settings.exports());
    if (onlySelection && m_parts.open.is(project.id)) {
        const auto selected = m_parts.open.selectedSpan();
        settings.span = TimeSpan{selected.start, selected.end};
    }
    return settings;
}

QVariantMap Exports::estimate(const QString& projectId, bool onlySelection) const
{
    const auto* project = find(projectId);
    if (!project)
        return {};
    const auto settings = settingsFor(*project, onlySelection);
    const auto estimate = ExportEstimate::of(*project, settings, m_pace);
    bool fits = true;
    try {
        if (settings.maxBytes)
            ExportFormats::limited(*project, settings, estimate.duration);
    } catch (const Error&) {
        fits = false;
    }
    return {{QStringLiteral("duration"), estimate.duration}, {QStringLiteral("seconds"), estimate.seconds},
        {QStringLiteral("bytes"), estimate.bytes}, {QStringLiteral("fits"), fits}};
}

QCoro::Task<> Exports::pickDestination(VideoProject project, ExportSettings settings)
{
    const std::string extension(ExportService::extensionOf(settings.format));
    const Answer<std::optional<fs::path>> chosen;
    m_parts.services.panels->saveMovie(
        {.name = portableFileName(project.title) + extension, .folder = startFolder(), .extension = extension},
        [chosen](auto file) { chosen.give(std::move(file)); });
    const auto destination = co_await chosen;
    if (!destination)
        co_return;
    StoredSettings::remember(StoredSettings::exportFolder, destination->parent_path().string());
    const auto title = QStringLiteral("Exportar «%1»").arg(Text::from(project.title));
    m_parts.queue.add({.title = title,
        .work = [this, project = std::move(project), destination = *destination, settings](
                    WorkControl control) { return render(project, destination, settings, std::move(control)); }});
}

QCoro::Task<> Exports::render(VideoProject project, fs::path destination, ExportSettings settings, WorkControl control)
{
    m_parts.operation.setStatus(QStringLiteral("Exportando vídeo…"));
    QElapsedTimer since;
    since.start();
    const auto outcome = co_await m_parts.workers.run(std::move(control),
        [project, store = *m_parts.services.store, destination, settings, probe = m_parts.services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return ExportService::exportVideo(project, store, destination, settings, *probe, progress, stop);
        });
    std::error_code ignored;
    const auto bytes = static_cast<double>(fs::file_size(destination, ignored));
    constexpr double milliseconds = 1000;
    const double seconds = static_cast<double>(since.elapsed()) / milliseconds;
    const auto remarks = QString::fromStdString(outcome.remarks());
    const auto done = settings.format == ExportFormat::audio ? QStringLiteral("Audio exportado")
        : ExportService::hasSubtitleFile(settings)           ? QStringLiteral("Vídeo y subtítulos exportados")
                                                             : QStringLiteral("Vídeo exportado");
    m_parts.operation.setStatus(remarks.isEmpty() ? done : done + QStringLiteral(". ") + remarks);
    noteDone(project, destination, settings, seconds, bytes);
    emit finished(done, QStringLiteral("%1 · %2").arg(doneName(), Text::ofSize(bytes)));
    if (!m_parts.open.isLocked()) // During a recording the window would appear in it.
        m_parts.services.workspace->reveal(destination);
}

void Exports::noteDone(
    const VideoProject& project, const fs::path& file, const ExportSettings& settings, double seconds, double bytes)
{
    m_pace.add(project, settings, seconds, static_cast<std::uintmax_t>(bytes));
    StoredSettings::remember(StoredSettings::exportPace, m_pace.text());
    m_done = file;
    m_doneBytes = bytes;
    ++m_doneCount;
    emit doneChanged();
}

QString Exports::doneName() const
{
    return Text::from(m_done.filename());
}

void Exports::openDone()
{
    if (!m_done.empty())
        m_parts.services.workspace->openFile(m_done);
}

void Exports::showDone()
{
    if (!m_done.empty())
        m_parts.services.workspace->reveal(m_done);
}

void Exports::dismiss()
{
    m_done.clear();
    m_doneBytes = 0;
    m_doneCount = 0;
    emit doneChanged();
}

} // namespace orvo
