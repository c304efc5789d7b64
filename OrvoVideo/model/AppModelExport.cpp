#include "OrvoVideo/model/AppModel.h"
#include "VideoMedia/ExportService.h"

namespace orvo {

namespace fs = std::filesystem;

void AppModel::exportVideo()
{
    flushSave();
    if (m_project)
        start(pickDestination(*m_project)); // As it is now: edits that follow do not reach this export.
}

QCoro::Task<> AppModel::pickDestination(VideoProject project)
{
    const Answer<std::optional<fs::path>> chosen;
    m_services.panels->saveMovie(project.title + ".mp4", [chosen](auto file) { chosen.give(std::move(file)); });
    const auto destination = co_await chosen;
    if (!destination)
        co_return;
    ExportSettings settings{.height = m_options.height, .fps = m_options.fps, .quality = m_exportQuality.toStdString()};
    m_exportChoice.apply(settings);
    perform(
        [this, project = std::move(project), destination = *destination, settings](WorkControl control) -> QCoro::Task<> {
            setStatus(QStringLiteral("Exportando vídeo…"));
            const auto outcome = co_await m_workers.run(std::move(control),
                [project, store = store(), destination, settings, probe = m_services.probe](
                    const std::stop_token& stop, const ProgressCallback& progress) {
                    return ExportService::exportVideo(project, store, destination, settings, *probe, progress, stop);
                });
            const auto remarks = QString::fromStdString(outcome.remarks());
            const auto done = settings.subtitles == SubtitleCues::none ? QStringLiteral("Vídeo exportado")
                                                                       : QStringLiteral("Vídeo y subtítulos exportados");
            setStatus(remarks.isEmpty() ? done : done + QStringLiteral(". ") + remarks);
            m_services.workspace->reveal(destination);
        });
}

} // namespace orvo
