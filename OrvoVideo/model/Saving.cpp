#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/ModelText.h"

#include <QStringList>
#include <algorithm>

namespace orvo {

namespace {

/// Whether a document on disk says what is in memory. Documents keep whole seconds.
bool saysTheSame(const VideoProject& document, VideoProject project)
{
    project.createdAt = std::chrono::floor<std::chrono::seconds>(project.createdAt);
    project.updatedAt = std::chrono::floor<std::chrono::seconds>(project.updatedAt);
    return document == project;
}

} // namespace

void AppModel::noteEdit()
{
    ++m_edited;
    emit unsavedChangesChanged();
}

void AppModel::saveSoon()
{
    m_autosave.start();
    if (!m_burst.isActive())
        m_burst.start();
}

void AppModel::flushSave()
{
    emit commitWanted();
    saveEdits();
}

void AppModel::saveEdits()
{
    m_autosave.stop();
    m_burst.stop();
    if (!m_project || m_asked == m_edited)
        return;
    m_quiet = 0;
    saveNow();
}

void AppModel::saveNow()
{
    m_autosave.stop();
    m_burst.stop();
    m_asked = m_edited;
    m_documents.save(*m_project, m_edited);
}

void AppModel::keepUnsavedEdits()
{
    if (!m_project || !m_autosave.isActive())
        return;
    m_documents.saveUnsavedEdits(*m_project);
    m_burst.start();
}

void AppModel::setWritten(std::uint64_t version)
{
    const bool unsaved = unsavedChanges();
    m_written = version;
    if (unsaved != unsavedChanges())
        emit unsavedChangesChanged();
}

void AppModel::noteWritten(const Uuid& id, std::uint64_t version)
{
    if (!m_project || m_project->id != id || version <= m_written)
        return;
    setWritten(version);
    watchDocument();
}

void AppModel::noteSaveFailed(const Uuid& id, std::uint64_t version, const QString& reason)
{
    if (m_project && m_project->id == id && m_asked == version)
        m_asked = m_written; // The next save tries again.
    if (version != m_quiet)
        setErrorMessage(QStringLiteral("No se han podido guardar los últimos cambios: ") + reason);
}

void AppModel::noteKeptOther(const QString& fileName)
{
    setErrorMessage(
        QStringLiteral("Otro programa ha cambiado este proyecto mientras lo editabas. Tus cambios están guardados; "
                       "la otra versión queda en su carpeta como «%1».")
            .arg(fileName));
}

bool AppModel::prepareToQuit()
{
    if (capturing()) {
        setErrorMessage(QStringLiteral("Hay una grabación en curso. Termínala antes de salir."));
        return false;
    }
    flushSave();
    return m_documents.settle();
}

void AppModel::watchDocument()
{
    QStringList wanted;
    if (m_project) {
        const auto folder = store().directory(m_project->id);
        wanted = {Text::from(folder), Text::from(folder / ProjectStore::documentName)};
    }
    // A document that was replaced is no longer watched, so each save comes here again.
    const QStringList watched = m_documentWatcher.files() + m_documentWatcher.directories();
    for (const auto& path : watched) {
        if (!wanted.contains(path))
            m_documentWatcher.removePath(path);
    }
    for (const auto& path : wanted) {
        if (!watched.contains(path))
            m_documentWatcher.addPath(path);
    }
}

QCoro::Task<> AppModel::reloadWhenChangedElsewhere()
{
    // With edits of our own, the next save keeps the other version beside ours.
    if (!m_project || unsavedChanges() || isRecording())
        co_return;
    const auto opening = m_opening;
    const auto changed = co_await m_documents.changedElsewhere(m_project->id);
    if (opening != m_opening || unsavedChanges() || isRecording())
        co_return;
    watchDocument();
    if (!changed)
        co_return;
    m_documents.accept(*changed);
    if (saysTheSame(changed->project, *m_project))
        co_return;
    // A step to undo, so that what was here is not lost.
    m_history.record(*m_project, changed->project);
    if (m_gesture == Gesture::recorded)
        m_gesture = Gesture::begun;
    const bool showsOther = changed->project.publication != m_project->publication && policyIsThatOf(m_project->publication);
    setProject(changed->project);
    if (showsOther)
        showPublication();
    setSelectedSpan(
        {std::min(m_selectedSpan.start, m_project->duration), std::min(m_selectedSpan.end, m_project->duration)});
    if (!m_suggestions.suggestions().empty())
        findSuggestions();
    emit historyChanged();
    m_library.replace(*m_project);
    setStatus(QStringLiteral("El proyecto ha cambiado fuera de Orvo Video y se ha vuelto a cargar."));
    followProject();
}

} // namespace orvo
