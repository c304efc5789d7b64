#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

struct whisper_context;

namespace orvo::speech {

/// A word as the recogniser heard it, with the punctuation that follows it.
struct HeardWord {
    std::string text;
    double end = 0; ///< Seconds in the given sound: about where it ends.
    float probability = 0; ///< Of its least probable part, 0..1.
};

/// A speech model in memory. Not for two threads at once.
class Whisper {
public:
    /// Reads a model. Throws `captureError` with a text for the user when the file is none that recognises Spanish and
    /// English.
    explicit Whisper(const std::filesystem::path& model);
    ~Whisper();
    Whisper(const Whisper&) = delete;
    Whisper& operator=(const Whisper&) = delete;

    struct Request {
        std::string language; ///< "es" or "en".
        std::string prompt; ///< Text in whose manner it goes on.
        float temperature = 0; ///< At 0 the likeliest word follows; above, it is drawn by lot.
        double lead = 0; ///< Seconds of silence before the sound: enough for it to be heard a little differently.
    };

    struct Answer {
        std::vector<HeardWord> words; ///< In order.
        bool complete = true; ///< False for one that was ended: caught in a phrase, or more than can be said in that time.
        double certainty = 0; ///< Mean natural logarithm of the probabilities of its parts: 0 at best.
    };

    /// The words in at most 30 seconds of sound at `sampleRate`.
    ///
    /// Blocks. Throws `Cancelled` when `stop` is requested, `captureError` when the recognition fails.
    Answer recognise(std::span<const float> samples, const Request& request, const std::stop_token& stop);

private:
    struct Free {
        void operator()(whisper_context* context) const;
    };
    std::unique_ptr<whisper_context, Free> m_context;
    int m_threads;
};

} // namespace orvo::speech
