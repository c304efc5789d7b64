#pragma once

#include <span>
#include <vector>

/// Detects speech from the energy of the audio alone.
namespace orvo::speech {

/// Sample rate of speech recognition, which is mono.
inline constexpr int sampleRate = 16'000;

/// Samples per frame of the analysis: 10 ms.
inline constexpr int frameSize = 160;
inline constexpr double frameSeconds = static_cast<double>(frameSize) / sampleRate;

/// The energy of audio per frame, in two bands: the voice, and the sibilants above it.
struct Loudness {
    std::vector<float> voice; ///< dBFS, 150 to 3,500 Hz.
    std::vector<float> hiss; ///< dBFS, above 3,500 Hz.

    std::size_t frames() const noexcept { return voice.size(); }
};

/// Measures audio that arrives in blocks.
class LoudnessMeter {
public:
    LoudnessMeter();

    /// `samples` are in −1..1.
    void add(std::span<const float> samples);

    const Loudness& result() const noexcept { return m_loudness; }

private:
    /// A second-order section, transposed direct form II.
    struct Section {
        double b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
        double s1 = 0, s2 = 0;
        double operator()(double x) noexcept;
    };
    static Section highPass(double frequency, double quality);
    static Section lowPass(double frequency, double quality);

    Section m_voiceHigh[2];
    Section m_voiceLow[2];
    Section m_hissHigh[2];
    double m_voiceSum = 0;
    double m_hissSum = 0;
    int m_count = 0;
    Loudness m_loudness;
};

/// A range of frames: the first, and one past the last.
struct Frames {
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t count() const noexcept { return end - begin; }
    double startSeconds() const noexcept { return static_cast<double>(begin) * frameSeconds; }
    double endSeconds() const noexcept { return static_cast<double>(end) * frameSeconds; }
    friend bool operator==(const Frames&, const Frames&) = default;
};

/// Minimum silence between two stretches of speech, in frames. No word spans it.
inline constexpr std::size_t partingSilence = 18;

/// The stretches of speech, in order and disjoint, at least `partingSilence` apart.
///
/// Compares the level with the background level at that time, so that hum, noise and quiet music do not hide pauses.
/// Removes the reverberation at the end of a stretch. Constant audio is not speech.
std::vector<Frames> findSpeech(const Loudness& loudness);

/// Whether any part of the audio is voiced, as vowels are. Breaths, hisses and key clicks are not.
bool isVoiced(std::span<const float> samples);

} // namespace orvo::speech
