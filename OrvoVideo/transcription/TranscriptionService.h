#pragma once

#include "OrvoVideo/transcription/SpeechRecognizer.h"
#include "VideoCore/FileLock.h"
#include "VideoCore/VideoProject.h"
#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// How speech is recognised, as the user has chosen it.
struct TranscriptionOptions {
    std::string model; ///< A name that `SpeechModels` knows.
    SpeechRecognizer::Decoding decoding = SpeechRecognizer::Decoding::quick;
};

/// Recognises what is spoken in a sound file. Stateless; usable from any thread.
namespace TranscriptionService {

/// The words spoken in a wave file of one channel at 16 kHz, in time order. The model is downloaded when it is not there.
///
/// Blocks; `progress` receives the share that is done. Throws `captureError` with "La transcripción local no admite este
/// idioma en este Mac." for a locale that is not offered, before anything is downloaded; what `SpeechModels::require` and
/// `SpeechRecognizer` throw, and `Cancelled`.
std::vector<TranscriptWord> transcribe(const std::filesystem::path& file, std::string_view locale,
    const TranscriptionOptions& options, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace TranscriptionService

/// The sound that a transcription works on, in the project's folder; gone again when the object goes.
class TranscriptionFile {
public:
    /// Makes it, empty. Throws `captureError` while another program transcribes the same project, file system errors
    /// unchanged.
    explicit TranscriptionFile(const std::filesystem::path& projectFolder);
    ~TranscriptionFile();
    TranscriptionFile(const TranscriptionFile&) = delete;
    TranscriptionFile& operator=(const TranscriptionFile&) = delete;

    const std::filesystem::path& path() const noexcept { return m_path; }

private:
    std::filesystem::path m_path;
    FileLock m_lock; ///< On the file, for as long as it is in use.
};

} // namespace orvo
