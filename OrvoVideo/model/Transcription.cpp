#include "OrvoVideo/model/Transcription.h"

#include "OrvoVideo/model/ModelText.h"
#include "OrvoVideo/transcription/ProjectTranscription.h"

#include <QMetaObject>

namespace orvo {

Transcription::Transcription(const Parts& parts)
    : m_parts(parts)
{
    connect(&m_parts.library, &ProjectLibrary::opened, this, [this] {
        setConfidence({});
        m_parts.operation.start(readConfidence());
    });
    // The command-line program may have transcribed it.
    connect(&m_parts.library, &ProjectLibrary::reloaded, this, [this] { m_parts.operation.start(readConfidence()); });
}

void Transcription::setConfidence(WordConfidence confidence)
{
    if (m_confidence.empty() && confidence.empty())
        return;
    m_confidence = std::move(confidence);
    emit confidenceChanged();
}

QCoro::Task<> Transcription::readConfidence()
{
    const Uuid id = m_parts.open->id;
    auto confidence = co_await m_parts.workers.run(
        [folder = m_parts.services.store->directory(id)] { return WordConfidence::read(folder); });
    if (m_parts.open.is(id))
        setConfidence(std::move(confidence));
}

void Transcription::transcribe()
{
    if (m_asksForModel) {
        if (m_parts.open && m_parts.operation.idle())
            emit modelWanted();
        return;
    }
    m_parts.saving.flush();
    if (!m_parts.open)
        return;
    m_parts.queue.add({.title = QStringLiteral("Transcribir «%1»").arg(Text::from(m_parts.open->title)),
        .key = QStringLiteral("transcribe ") + Text::from(m_parts.open->id),
        .work = [this, project = *m_parts.open](WorkControl control) -> QCoro::Task<> {
            // Uses the present version, because the job may have waited during edits.
            co_await transcribeProject(m_parts.open.is(project.id) ? *m_parts.open : project, std::move(control));
        }});
}

void Transcription::transcribeWith(const QString& model)
{
    setSpeechModel(model);
    setAsksForModel(false);
    transcribe();
}

void Transcription::downloadModel(const QString& model)
{
    m_parts.operation.perform(
        [this, model](WorkControl control) -> QCoro::Task<> {
            m_parts.operation.setStatus(QStringLiteral("Descargando el modelo de voz…"));
            co_await m_parts.workers.run(control,
                [name = model.toStdString(), require = m_parts.services.requireModel](
                    const std::stop_token& stop, const ProgressCallback& progress) { require(name, progress, stop); });
            m_parts.operation.setStatus(QStringLiteral("Modelo de voz listo"));
            emit modelReady();
        },
        {.failed = QStringLiteral("No se ha podido descargar el modelo de voz"),
            .cancelled = QStringLiteral("Descarga cancelada: la próxima vez sigue por donde iba")});
}

QCoro::Task<> Transcription::transcribeProject(VideoProject project, WorkControl control)
{
    m_parts.operation.setStatus(QStringLiteral("Preparando audio para la transcripción local…"));
    // Called on a worker thread. The event queue delivers its status before the work resumes the coroutine.
    const auto audioReady = [this] {
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_parts.operation.setStatus(
                    QStringLiteral("Transcribiendo en el Mac · la primera vez se descargarán los modelos…"));
            },
            Qt::QueuedConnection);
    };
    auto words = co_await m_parts.workers.run(control,
        [project, audioReady, locale = m_language.toStdString(), options = m_options, store = *m_parts.services.store,
            probe = m_parts.services.probe,
            recognise = m_parts.services.transcribe](const std::stop_token& stop, const ProgressCallback& progress) {
            return orvo::transcribeProject(project,
                {.store = store, .probe = *probe, .audioReady = audioReady, .recognise = recognise}, locale, options,
                progress, stop);
        });
    const auto replace = [words = SharedList(std::move(words))](VideoProject& changed) { changed.edit.words = words; };
    // Changes the transcribed project: another one may be open by now.
    co_await m_parts.library.update(project.id, replace);
    if (m_parts.open.is(project.id)) {
        m_parts.open.findSuggestions();
        co_await readConfidence();
    }
    m_parts.operation.setStatus(QStringLiteral("Transcripción lista"));
}

void Transcription::setLanguage(const QString& language)
{
    if (m_language == language)
        return;
    m_language = language;
    emit settingsChanged();
}

void Transcription::setSpeechModel(const QString& model)
{
    if (speechModel() == model)
        return;
    m_options.model = model.toStdString();
    emit settingsChanged();
}

void Transcription::setCareful(bool careful)
{
    if (this->careful() == careful)
        return;
    m_options.decoding = careful ? SpeechRecognizer::Decoding::careful : SpeechRecognizer::Decoding::quick;
    emit settingsChanged();
}

void Transcription::setAsksForModel(bool asks)
{
    if (m_asksForModel == asks)
        return;
    m_asksForModel = asks;
    emit settingsChanged();
}

} // namespace orvo
