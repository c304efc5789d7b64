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

/// Recognises speech on the machine itself, word by word.
class SpeechRecognizer {
public:
    /// How hard it listens.
    enum class Decoding : std::uint8_t {
        quick, ///< Once.
        careful ///< Up to three times where it is not sure, of which the surest counts: up to three times as long.
    };

    /// The language that a locale identifier ("es-ES", "en-US") asks for, as the recogniser names it; nothing for one that
    /// it does not offer.
    static std::optional<std::string> supportedLanguage(std::string_view locale);

    /// Reads the model. Throws `captureError` with a text for the user when it is damaged or none.
    SpeechRecognizer(const std::filesystem::path& model, std::string language, Decoding decoding);

    /// The words spoken in a wave file of one channel at 16 kHz, in time order and disjoint. Each begins and ends where its
    /// sound does. Nothing is made up where nobody speaks.
    ///
    /// Blocks; reads the file piece by piece, so that its length costs no memory. `progress` receives the share of the
    /// speech that is done. Throws `captureError` for another file or when the recognition fails, file system errors
    /// unchanged, and `Cancelled`.
    std::vector<TranscriptWord> recognise(
        const std::filesystem::path& wave, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

private:
    speech::Whisper m_whisper;
    std::string m_language;
    Decoding m_decoding;
};

} // namespace orvo
