#include "OrvoVideo/model/Transcription.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoMedia/AnalysisAudio.h"

namespace orvo {

namespace fs = std::filesystem;

Transcription::Transcription(const Parts& parts)
    : m_parts(parts)
{
}

void Transcription::transcribe()
{
    m_parts.saving.flush();
    if (!m_parts.open)
        return;
    m_parts.queue.add({.title = QStringLiteral("Transcribir «%1»").arg(Text::from(m_parts.open->title)),
        .key = QStringLiteral("transcribe ") + Text::from(m_parts.open->id),
        .work = [this, project = *m_parts.open](WorkControl control) -> QCoro::Task<> {
            // It may have waited: what was edited meanwhile counts.
            co_await transcribeProject(m_parts.open.is(project.id) ? *m_parts.open : project, std::move(control));
        }});
}

QCoro::Task<> Transcription::transcribeProject(VideoProject project, WorkControl control)
{
    m_parts.operation.setStatus(QStringLiteral("Preparando audio para la transcripción local…"));
    const TranscriptionFile work(m_parts.services.store->directory(project.id));
    co_await analysisAudio(project, work.path(), control);
    m_parts.operation.setStatus(QStringLiteral("Transcribiendo en el Mac · la primera vez se descargarán los modelos…"));
    auto words = co_await m_parts.workers.run(control,
        [file = work.path(), locale = m_language.toStdString(), options = m_options,
            transcribe = m_parts.services.transcribe](const std::stop_token& stop, const ProgressCallback& progress) {
            return transcribe(file, locale, options, progress, stop);
        });
    const auto replace = [words = SharedList(std::move(words))](VideoProject& changed) { changed.edit.words = words; };
    // In the project that it was asked for: another one may be open by now.
    co_await m_parts.library.update(project.id, replace);
    if (m_parts.open.is(project.id))
        m_parts.open.findSuggestions();
    m_parts.operation.setStatus(QStringLiteral("Transcripción lista"));
}

QCoro::Task<> Transcription::analysisAudio(VideoProject project, fs::path destination, WorkControl control)
{
    co_await m_parts.workers.run(std::move(control),
        [project = std::move(project), store = *m_parts.services.store, destination, probe = m_parts.services.probe](
            const std::stop_token& stop) { orvo::analysisAudio(project, store, *probe, destination, stop); });
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

} // namespace orvo
