#include "OrvoVideo/transcription/TranscriptionService.h"

#include "OrvoVideo/transcription/SpeechModels.h"
#include "VideoCore/Error.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

TranscriptionFile::TranscriptionFile(const fs::path& projectFolder)
    : m_path(projectFolder / "transcription.wav")
{
    UniqueFd descriptor(::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!descriptor)
        throw fs::filesystem_error("create", m_path, std::error_code(errno, std::generic_category()));
    m_lock = FileLock(std::move(descriptor));
    if (!m_lock.tryLock())
        throw captureError("Este proyecto ya se está transcribiendo en otra ventana u otro terminal.");
}

TranscriptionFile::~TranscriptionFile()
{
    std::error_code ignored;
    fs::remove(m_path, ignored);
}

} // namespace orvo

namespace orvo::TranscriptionService {

namespace {

constexpr double downloadShare = 0.4; ///< Share of the progress for the download of a model.

ProgressCallback part(const ProgressCallback& progress, double from, double to)
{
    if (!progress)
        return {};
    return [&progress, from, to](double value) { progress(from + (to - from) * value); };
}

} // namespace

std::vector<TranscriptWord> transcribe(const std::filesystem::path& file, std::string_view locale,
    const TranscriptionOptions& options, const ProgressCallback& progress, const std::stop_token& stop)
{
    const auto language = SpeechRecognizer::supportedLanguage(locale);
    if (!language)
        throw captureError("La transcripción local no admite este idioma en este Mac.");
    const std::string name = options.model.empty() ? std::string(SpeechModels::usual) : options.model;
    const double begin = SpeechModels::installed(name) ? 0 : downloadShare;
    const auto model = SpeechModels::require(name, part(progress, 0, begin), stop);
    SpeechRecognizer recognizer(model, *language, options.decoding);
    std::vector<float> probabilities;
    auto words = recognizer.recognise(file, part(progress, begin, 1), stop, &probabilities);
    if (options.heard)
        options.heard(words, probabilities);
    return words;
}

} // namespace orvo::TranscriptionService
