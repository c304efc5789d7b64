#include "OrvoVideo/model/ImportExport.h"

#include "OrvoVideo/model/Answer.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/MovieImport.h"

#include <utility>

namespace orvo {

namespace fs = std::filesystem;

void ImportExport::askAndImport(bool append)
{
    if (!m_parts.open.isLocked())
        m_parts.operation.start(pickMovie(append));
}

QCoro::Task<> ImportExport::pickMovie(bool append)
{
    const Answer<std::optional<fs::path>> chosen;
    m_parts.services.panels->openMovie([chosen](auto movie) { chosen.give(std::move(movie)); });
    if (const auto movie = co_await chosen)
        importMovie(*movie, append);
}

void ImportExport::importMovie(fs::path movie, bool append)
{
    m_parts.operation.perform([this, movie = std::move(movie), append](WorkControl control) -> QCoro::Task<> {
        m_parts.operation.setStatus(QStringLiteral("Importando vídeo…"));
        if (append && m_parts.open)
            co_await importInto(m_parts.open->id, movie, std::move(control));
        else
            co_await importNew(movie, std::move(control));
        m_parts.operation.setStatus(QStringLiteral("Vídeo importado"));
        m_parts.library.refresh();
    });
}

QCoro::Task<> ImportExport::importNew(fs::path movie, WorkControl control)
{
    auto imported = co_await m_parts.workers.run(std::move(control),
        [movie, store = *m_parts.services.store, probe = m_parts.services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::importMovie(store, movie, std::nullopt, *probe, progress, stop);
        });
    co_await m_parts.library.select(std::move(imported));
}

QCoro::Task<> ImportExport::importInto(Uuid target, fs::path movie, WorkControl control)
{
    const auto copied = co_await m_parts.workers.run(std::move(control),
        [movie, store = *m_parts.services.store, project = *m_parts.open, probe = m_parts.services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::copyMovie(store, movie, project, *probe, progress, stop);
        });
    co_await m_parts.library.change(
        target, [copied](VideoProject& project) { MovieImport::append(project, copied); }, OpenProject::Undo::step);
}

void ImportExport::exportVideo()
{
    m_parts.saving.flush();
    if (m_parts.open)
        m_parts.operation.start(pickDestination(*m_parts.open)); // As it is now: edits that follow do not reach this export.
}

QCoro::Task<> ImportExport::pickDestination(VideoProject project)
{
    const Answer<std::optional<fs::path>> chosen;
    m_parts.services.panels->saveMovie(project.title + ".mp4", [chosen](auto file) { chosen.give(std::move(file)); });
    const auto destination = co_await chosen;
    if (!destination)
        co_return;
    auto settings = m_parts.settings.exports();
    m_parts.exportChoice.apply(settings);
    m_parts.operation.perform(
        [this, project = std::move(project), destination = *destination, settings](WorkControl control) -> QCoro::Task<> {
            m_parts.operation.setStatus(QStringLiteral("Exportando vídeo…"));
            const auto outcome = co_await m_parts.workers.run(std::move(control),
                [project, store = *m_parts.services.store, destination, settings, probe = m_parts.services.probe](
                    const std::stop_token& stop, const ProgressCallback& progress) {
                    return ExportService::exportVideo(project, store, destination, settings, *probe, progress, stop);
                });
            const auto remarks = QString::fromStdString(outcome.remarks());
            const auto done = settings.subtitles == SubtitleCues::none ? QStringLiteral("Vídeo exportado")
                                                                       : QStringLiteral("Vídeo y subtítulos exportados");
            m_parts.operation.setStatus(remarks.isEmpty() ? done : done + QStringLiteral(". ") + remarks);
            m_parts.services.workspace->reveal(destination);
        });
}

} // namespace orvo
