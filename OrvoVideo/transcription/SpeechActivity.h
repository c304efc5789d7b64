#pragma once

#include <span>
#include <vector>

/// Where somebody speaks, told by the energy of the sound alone.
namespace orvo::speech {

/// What speech recognition works on: one channel at this rate.
inline constexpr int sampleRate = 16'000;

/// Samples in a frame of the analysis: 10 ms.
inline constexpr int frameSize = 160;
inline constexpr double frameSeconds = static_cast<double>(frameSize) / sampleRate;

/// The energy of a sound, frame by frame, in two bands: that of the voice and that of the sibilants above it.
struct Loudness {
    std::vector<float> voice; ///< Decibels of full scale, 150 to 3,500 Hz.
    std::vector<float> hiss; ///< Decibels of full scale, above 3,500 Hz.

    std::size_t frames() const noexcept { return voice.size(); }
};

/// Measures a sound that comes in pieces.
class LoudnessMeter {
public:
    LoudnessMeter();

    /// `samples` in -1..1.
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

/// A stretch of frames: first and past the last.
struct Frames {
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t count() const noexcept { return end - begin; }
    double startSeconds() const noexcept { return static_cast<double>(begin) * frameSeconds; }
    double endSeconds() const noexcept { return static_cast<double>(end) * frameSeconds; }
    friend bool operator==(const Frames&, const Frames&) = default;
};

/// A silence at least this long parts two stretches of speech; no word goes on over it. Frames.
inline constexpr std::size_t partingSilence = 18;

/// The stretches in which there is speech, in order and disjoint, with silences of `partingSilence` or more between them.
///
/// What counts is how far the sound stands out of what lies under it at that time, so that hum, noise and quiet music do not
/// hide the pauses; what a room adds behind the last sound is taken off. A sound that does not change is no speech.
std::vector<Frames> findSpeech(const Loudness& loudness);

/// Whether somewhere in a sound a voice vibrates, as in every vowel. A breath, a hiss or a key does not.
bool isVoiced(std::span<const float> samples);

} // namespace orvo::speech
