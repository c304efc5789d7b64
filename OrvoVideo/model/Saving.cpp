#include "OrvoVideo/model/Saving.h"

namespace orvo {

Saving::Saving(OpenProject& project, ProjectDocuments& documents, Operation& operation)
    : m_project(project)
    , m_documents(documents)
    , m_operation(operation)
{
    for (auto* timer : {&m_autosave, &m_burst}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        timer->setInterval(delay);
    }
    connect(&m_autosave, &QTimer::timeout, this, &Saving::saveEdits);
    connect(&m_burst, &QTimer::timeout, this, &Saving::keepUnsavedEdits);
    connect(&m_documents, &ProjectDocuments::saved, this, &Saving::noteWritten);
    connect(&m_documents, &ProjectDocuments::saveFailed, this, &Saving::noteFailed);
    connect(&m_documents, &ProjectDocuments::keptOther, this,
        [this](const Uuid&, const QString& fileName) { noteKeptOther(fileName); });
    connect(&m_project, &OpenProject::edited, this, &Saving::noteEdit);
}

void Saving::noteEdit(OpenProject::Save save)
{
    ++m_edited;
    emit unsavedChangesChanged();
    if (save == OpenProject::Save::nowIgnoringErrors)
        m_quiet = m_edited;
    if (save == OpenProject::Save::soon)
        saveSoon();
    else
        saveNow();
}

void Saving::noteOpened()
{
    m_asked = m_edited;
    setWritten(m_edited);
}

void Saving::saveSoon()
{
    m_autosave.start();
    if (!m_burst.isActive())
        m_burst.start();
}

void Saving::flush()
{
    commitTyped();
    saveEdits();
}

void Saving::saveEdits()
{
    m_autosave.stop();
    m_burst.stop();
    if (!m_project || m_asked == m_edited)
        return;
    m_quiet = 0;
    saveNow();
}

void Saving::saveNow()
{
    m_autosave.stop();
    m_burst.stop();
    m_asked = m_edited;
    m_documents.save(*m_project, m_edited);
}

void Saving::keepUnsavedEdits()
{
    if (!m_project || !m_autosave.isActive())
        return;
    m_documents.saveUnsavedEdits(*m_project);
    m_burst.start();
}

void Saving::setWritten(std::uint64_t version)
{
    const bool unsaved = unsavedChanges();
    m_written = version;
    if (unsaved != unsavedChanges())
        emit unsavedChangesChanged();
}

void Saving::noteWritten(const Uuid& id, std::uint64_t version)
{
    if (!m_project.is(id) || version <= m_written)
        return;
    setWritten(version);
    emit written();
}

void Saving::noteFailed(const Uuid& id, std::uint64_t version, const QString& reason)
{
    if (m_project.is(id) && m_asked == version)
        m_asked = m_written; // The next save tries again.
    if (version != m_quiet)
        m_operation.setErrorMessage(QStringLiteral("No se han podido guardar los últimos cambios: ") + reason);
}

void Saving::noteKeptOther(const QString& fileName)
{
    m_operation.setErrorMessage(
        QStringLiteral("Otro programa ha cambiado este proyecto mientras lo editabas. Tus cambios están guardados; "
                       "la otra versión queda en su carpeta como «%1».")
            .arg(fileName));
}

bool Saving::settle()
{
    flush();
    return m_documents.settle();
}

} // namespace orvo
