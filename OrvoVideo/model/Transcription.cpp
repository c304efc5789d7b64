#include "OrvoVideo/model/AppModel.h"
#include "VideoMedia/AnalysisAudio.h"

namespace orvo {

namespace fs = std::filesystem;

void AppModel::transcribe()
{
    flushSave();
    perform([this](WorkControl control) -> QCoro::Task<> {
        if (m_project)
            co_await transcribeProject(*m_project, std::move(control));
    });
}

QCoro::Task<> AppModel::transcribeProject(VideoProject project, WorkControl control)
{
    setStatus(QStringLiteral("Preparando audio para la transcripción local…"));
    const TranscriptionFile work(store().directory(project.id));
    co_await analysisAudio(project, work.path(), control);
    setStatus(QStringLiteral("Transcribiendo en el Mac · la primera vez se descargarán los modelos…"));
    auto words = co_await m_workers.run(control,
        [file = work.path(), locale = m_language.toStdString(), options = m_transcription,
            transcribe = m_services.transcribe](const std::stop_token& stop, const ProgressCallback& progress) {
            return transcribe(file, locale, options, progress, stop);
        });
    const auto replace = [words = SharedList(std::move(words))](VideoProject& changed) { changed.edit.words = words; };
    // In the project that it was asked for: another one may be open by now.
    co_await updateProject(project.id, replace);
    if (m_project && m_project->id == project.id)
        findSuggestions();
    setStatus(QStringLiteral("Transcripción lista"));
}

QCoro::Task<> AppModel::analysisAudio(VideoProject project, fs::path destination, WorkControl control)
{
    co_await m_workers.run(std::move(control),
        [project = std::move(project), store = store(), destination, probe = m_services.probe](
            const std::stop_token& stop) { orvo::analysisAudio(project, store, *probe, destination, stop); });
}

void AppModel::setSpeechModel(const QString& model)
{
    if (speechModel() == model)
        return;
    m_transcription.model = model.toStdString();
    emit transcriptionChanged();
}

void AppModel::setCarefulTranscription(bool careful)
{
    if (carefulTranscription() == careful)
        return;
    m_transcription.decoding = careful ? SpeechRecognizer::Decoding::careful : SpeechRecognizer::Decoding::quick;
    emit transcriptionChanged();
}

} // namespace orvo
