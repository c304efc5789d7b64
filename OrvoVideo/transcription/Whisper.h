#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

struct whisper_context;

namespace orvo::speech {

/// A recognised word, with the punctuation after it.
struct HeardWord {
    std::string text;
    double end = 0; ///< Approximate end, in seconds of the given audio.
    float probability = 0; ///< Probability of its least probable token, 0..1.
};

/// A speech model in memory. One thread at a time.
class Whisper {
public:
    /// Loads a model. Throws `captureError` with a text for the user when the file is not a model for Spanish and
    /// English.
    explicit Whisper(const std::filesystem::path& model);
    ~Whisper();
    Whisper(const Whisper&) = delete;
    Whisper& operator=(const Whisper&) = delete;

    struct Request {
        std::string language; ///< "es" or "en".
        std::string prompt; ///< Text whose style the recognition continues.
        std::span<const int> before; ///< Tokens of the speech before the audio; only the last ones are used.
        float temperature = 0; ///< 0 selects the most probable token; above, tokens are sampled.
        int beams = 1; ///< Hypotheses followed at the same time; only at temperature 0. At most 8.
    };

    struct Answer {
        std::vector<HeardWord> words; ///< In order.
        std::vector<int> tokens; ///< Tokens of the words, for `Request::before`.
        bool complete = true; ///< False if it was aborted: in a loop, or more than can be said in the time.
        double certainty = 0; ///< Mean log probability of its tokens; 0 is best.
    };

    /// The words in at most 30 seconds of audio at `sampleRate`.
    ///
    /// Blocks. Throws `captureError` when the recognition fails, and `Cancelled`.
    Answer recognise(std::span<const float> samples, const Request& request, const std::stop_token& stop);

private:
    struct Free {
        void operator()(whisper_context* context) const;
    };
    std::unique_ptr<whisper_context, Free> m_context;
    int m_threads;
};

} // namespace orvo::speech
