#pragma once

#include "OrvoVideo/transcription/SpeechRecognizer.h"
#include "VideoCore/FileLock.h"
#include "VideoCore/VideoProject.h"
#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <functional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// The user's choices for speech recognition.
struct TranscriptionOptions {
    std::string model; ///< A name known to `SpeechModels`.
    SpeechRecognizer::Decoding decoding = SpeechRecognizer::Decoding::quick;
    /// Receives the words with the probability of each (see `WordConfidence`), before they are returned and on the same
    /// thread. May be empty.
    std::function<void(std::span<const TranscriptWord>, std::span<const float>)> heard;
};

/// Recognises the speech in an audio file. Stateless, thread-safe.
namespace TranscriptionService {

/// The words in a mono wave file at 16 kHz, in time order. Downloads the model if it is missing.
///
/// Blocks; `progress` receives the fraction done. Throws `captureError` with "La transcripción local no admite este
/// idioma en este Mac." for an unsupported locale, before any download; what `SpeechModels::require` and
/// `SpeechRecognizer` throw, and `Cancelled`.
std::vector<TranscriptWord> transcribe(const std::filesystem::path& file, std::string_view locale,
    const TranscriptionOptions& options, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace TranscriptionService

/// The temporary audio file of a transcription, in the project's folder. Removed by the destructor.
class TranscriptionFile {
public:
    /// Creates the file, empty. Throws `captureError` while another program transcribes the project, and file system
    /// errors unchanged.
    explicit TranscriptionFile(const std::filesystem::path& projectFolder);
    ~TranscriptionFile();
    TranscriptionFile(const TranscriptionFile&) = delete;
    TranscriptionFile& operator=(const TranscriptionFile&) = delete;

    const std::filesystem::path& path() const noexcept { return m_path; }

private:
    std::filesystem::path m_path;
    FileLock m_lock; ///< On the file, while in use.
};

} // namespace orvo
