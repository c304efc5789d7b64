#include "OrvoVideo/model/AppModel.h"
#include "VideoMedia/MovieImport.h"

#include <utility>

namespace orvo {

namespace fs = std::filesystem;

void AppModel::importMedia(bool append)
{
    if (!isRecording())
        start(pickMovie(append));
}

QCoro::Task<> AppModel::pickMovie(bool append)
{
    const Answer<std::optional<fs::path>> chosen;
    m_services.panels->openMovie([chosen](auto movie) { chosen.give(std::move(movie)); });
    if (const auto movie = co_await chosen)
        importMovie(*movie, append);
}

void AppModel::importFile(const QUrl& movie, bool append)
{
    if (!isRecording())
        importMovie(movie.toLocalFile().toStdString(), append);
}

void AppModel::importMovie(fs::path movie, bool append)
{
    perform([this, movie = std::move(movie), append](WorkControl control) -> QCoro::Task<> {
        setStatus(QStringLiteral("Importando vídeo…"));
        if (append && m_project)
            co_await importInto(m_project->id, movie, std::move(control));
        else
            co_await importNew(movie, std::move(control));
        setStatus(QStringLiteral("Vídeo importado"));
        refreshLibrary();
    });
}

QCoro::Task<> AppModel::importNew(fs::path movie, WorkControl control)
{
    auto imported = co_await m_workers.run(std::move(control),
        [movie, store = store(), probe = m_services.probe](const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::importMovie(store, movie, std::nullopt, *probe, progress, stop);
        });
    co_await select(std::move(imported));
}

QCoro::Task<> AppModel::importInto(Uuid target, fs::path movie, WorkControl control)
{
    const auto copied = co_await m_workers.run(std::move(control),
        [movie, store = store(), project = *m_project, probe = m_services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::copyMovie(store, movie, project, *probe, progress, stop);
        });
    co_await changeProject(target, [copied](VideoProject& project) { MovieImport::append(project, copied); }, Undo::step);
}

} // namespace orvo
