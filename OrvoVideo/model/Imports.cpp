#include "OrvoVideo/model/Imports.h"

#include "OrvoVideo/model/Answer.h"
#include "VideoMedia/MovieImport.h"

#include <utility>

namespace orvo {

namespace fs = std::filesystem;

Imports::Imports(const Parts& parts)
    : m_parts(parts)
{
    QObject::connect(&m_parts.operation, &Operation::idleChanged, &m_context, [this] { startNext(); }, Qt::QueuedConnection);
}

void Imports::askAndImport(bool append)
{
    if (!m_parts.open.isLocked())
        m_parts.operation.start(pickMovie(append));
}

QCoro::Task<> Imports::pickMovie(bool append)
{
    const Answer<std::optional<fs::path>> chosen;
    m_parts.services.panels->openMovie([chosen](auto movie) { chosen.give(std::move(movie)); });
    if (const auto movie = co_await chosen)
        importMovie(*movie, append);
}

void Imports::importMovie(fs::path movie, bool append)
{
    if (m_parts.open.isLocked())
        return;
    m_waiting.push_back({.movie = std::move(movie), .target = append ? m_parts.open.value() : std::nullopt});
    startNext();
}

void Imports::startNext()
{
    if (m_waiting.empty() || !m_parts.operation.idle())
        return;
    m_parts.operation.perform([this, next = m_waiting.front()](WorkControl control) -> QCoro::Task<> {
        m_parts.operation.setStatus(QStringLiteral("Importando vídeo…"));
        if (next.target)
            co_await importInto(*next.target, next.movie, std::move(control));
        else
            co_await importNew(next.movie, std::move(control));
        m_parts.operation.setStatus(QStringLiteral("Vídeo importado"));
        m_parts.library.refresh();
    });
    m_waiting.pop_front();
}

QCoro::Task<> Imports::importNew(fs::path movie, WorkControl control)
{
    auto imported = co_await m_parts.workers.run(std::move(control),
        [movie, store = *m_parts.services.store, probe = m_parts.services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::importMovie(store, movie, std::nullopt, *probe, progress, stop);
        });
    co_await m_parts.library.select(std::move(imported));
}

QCoro::Task<> Imports::importInto(VideoProject target, fs::path movie, WorkControl control)
{
    const auto copied = co_await m_parts.workers.run(std::move(control),
        [movie, store = *m_parts.services.store, project = target, probe = m_parts.services.probe](
            const std::stop_token& stop, const ProgressCallback& progress) {
            return MovieImport::copyMovie(store, movie, project, *probe, progress, stop);
        });
    co_await m_parts.library.change(
        target.id, [copied](VideoProject& project) { MovieImport::append(project, copied); }, OpenProject::Undo::step);
}

} // namespace orvo
