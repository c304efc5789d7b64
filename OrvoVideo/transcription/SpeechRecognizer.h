#pragma once

#include "OrvoVideo/transcription/Whisper.h"
#include "VideoCore/VideoProject.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// Recognises speech on this machine, word by word.
class SpeechRecognizer {
public:
    /// The effort of the recognition.
    enum class Decoding : std::uint8_t {
        quick, ///< Follows one hypothesis.
        careful ///< Follows several hypotheses and keeps the most probable one. Takes up to twice as long.
    };

    /// The recogniser's language for a locale identifier ("es-ES", "en-US"); nullopt if unsupported.
    static std::optional<std::string> supportedLanguage(std::string_view locale);

    /// Loads the model. Throws `captureError` with a text for the user when it is damaged or not a model.
    SpeechRecognizer(const std::filesystem::path& model, std::string language, Decoding decoding);

    /// The words in a mono wave file at 16 kHz, in time order and disjoint, each with the time of its audio. Returns an
    /// empty list without speech.
    ///
    /// Blocks. Reads the file in blocks, so memory does not grow with its length. `progress` receives the fraction of the
    /// speech done, and `probabilities` the probability of each word, 0..1. Throws `captureError` for an
    /// unsupported file or a failed recognition, file system errors unchanged, and `Cancelled`.
    std::vector<TranscriptWord> recognise(const std::filesystem::path& wave, const ProgressCallback& progress = {},
        const std::stop_token& stop = {}, std::vector<float>* probabilities = nullptr);

private:
    speech::Whisper m_whisper;
    std::string m_language;
    Decoding m_decoding;
};

} // namespace orvo
