#include "OrvoVideo/transcription/SpeechActivity.h"
#include "OrvoVideo/transcription/SpeechChunks.h"

#include <cmath>
#include <gmock/gmock.h>
#include <numbers>
#include <random>

namespace orvo::speech {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Audio assembled piece by piece.
class Audio {
public:
    /// A voice-like signal: tones that swell and fall with its syllables.
    Audio& voice(double seconds, double level = 0.2)
    {
        return add(seconds, [level](double t) {
            const double swell = 0.4 + 0.6 * std::abs(std::sin(2 * std::numbers::pi * 2.5 * t));
            return level * swell
                * (std::sin(2 * std::numbers::pi * 220 * t) + 0.6 * std::sin(2 * std::numbers::pi * 880 * t));
        });
    }
    Audio& silence(double seconds)
    {
        return add(seconds, [](double) { return 0.0; });
    }
    Audio& then(const Audio& next)
    {
        m_samples.insert(m_samples.end(), next.m_samples.begin(), next.m_samples.end());
        return *this;
    }

    /// Adds white noise.
    Audio& noise(double level)
    {
        std::mt19937 random(7);
        std::normal_distribution<double> normal(0, level);
        for (auto& sample : m_samples)
            sample += static_cast<float>(normal(random));
        return *this;
    }
    /// Adds reverberation that decays by 60 dB in `reverberation` seconds.
    Audio& room(double reverberation)
    {
        std::mt19937 random(3);
        std::normal_distribution<double> normal(0, 1);
        // Noise with the decaying energy of the signal is a cheap approximation of a room.
        std::vector<float> wet = m_samples;
        const double fall = std::pow(10.0, -3.0 / (reverberation * sampleRate));
        double energy = 0;
        for (std::size_t i = 0; i < m_samples.size(); ++i) {
            energy = energy * fall * fall + static_cast<double>(m_samples[i]) * m_samples[i] * 0.002;
            wet[i] += static_cast<float>(std::sqrt(energy) * normal(random));
        }
        m_samples = std::move(wet);
        return *this;
    }

    Loudness loudness() const
    {
        LoudnessMeter meter;
        // Blocks of an odd size, so that frames cross their ends.
        for (std::size_t at = 0; at < m_samples.size(); at += 1'777)
            meter.add(std::span(m_samples).subspan(at, std::min<std::size_t>(1'777, m_samples.size() - at)));
        return meter.result();
    }

private:
    template <typename Wave> Audio& add(double seconds, Wave wave)
    {
        const auto count = static_cast<std::size_t>(std::lround(seconds * sampleRate));
        for (std::size_t i = 0; i < count; ++i)
            m_samples.push_back(static_cast<float>(wave(static_cast<double>(i) / sampleRate)));
        return *this;
    }

    std::vector<float> m_samples;
};

/// Two stretches, from 0.5 to 2 s and from 2.6 to 4 s.
Audio twoStretches()
{
    return Audio().silence(0.5).voice(1.5).silence(0.6).voice(1.4).silence(1);
}

/// Adds two more stretches: reverberation is detected from how most stretches end.
Audio fourStretches()
{
    return twoStretches().voice(1.2).silence(1).voice(1.7).silence(1);
}

void expectTwoStretches(const std::vector<Frames>& found, double starts, double ends)
{
    ASSERT_GE(found.size(), 2U);
    EXPECT_NEAR(found[0].startSeconds(), 0.5, starts);
    EXPECT_NEAR(found[0].endSeconds(), 2.0, ends);
    EXPECT_NEAR(found[1].startSeconds(), 2.6, starts);
    EXPECT_NEAR(found[1].endSeconds(), 4.0, ends);
}

TEST(SpeechActivity, FindsWhereSpeechBeginsAndEnds)
{
    EXPECT_EQ(findSpeech(fourStretches().loudness()).size(), 4U);
    expectTwoStretches(findSpeech(twoStretches().loudness()), 0.025, 0.025);
    expectTwoStretches(findSpeech(twoStretches().noise(0.01).loudness()), 0.03, 0.03); // 20 dB below.
    expectTwoStretches(findSpeech(fourStretches().room(0.3).loudness()), 0.03, 0.1);
    expectTwoStretches(findSpeech(Audio().silence(0.5).voice(1.5, 0.01).silence(0.6).voice(1.4, 0.01).silence(1).loudness()),
        0.025, 0.025); // Softly.
}

TEST(SpeechActivity, KeepsStretchesThatEndAbruptly)
{
    // Three times 60 frames of a voice that falls evenly for a quarter of a second and then breaks off.
    Loudness loudness;
    for (int i = 0; i < 3 * 160; ++i) {
        const int at = i % 160 - 50;
        loudness.voice.push_back(at < 0 || at >= 60 ? -100.0F : -20.0F - 0.8F * static_cast<float>(std::max(at - 35, 0)));
        loudness.hiss.push_back(-100);
    }
    EXPECT_THAT(findSpeech(loudness), ElementsAre(Frames{50, 110}, Frames{210, 270}, Frames{370, 430}));
}

TEST(SpeechActivity, FindsPausesUnderReverberation)
{
    const auto found = findSpeech(twoStretches().voice(1.2).silence(0.4).voice(1.7).silence(1).room(0.5).loudness());
    ASSERT_EQ(found.size(), 4U);
    EXPECT_NEAR(found[2].endSeconds(), 6.2, 0.1);
    EXPECT_NEAR(found[3].startSeconds(), 6.6, 0.03);
}

TEST(SpeechActivity, IgnoresDigitalSilenceInNoisyAudio)
{
    // A late track: zeros, then a voice in a noisy room.
    const Audio late = Audio().silence(0.5).voice(1.5).silence(0.6).voice(1.4).silence(2).noise(0.01);
    const auto found = findSpeech(Audio().silence(2.5).then(late).loudness());
    ASSERT_EQ(found.size(), 2U);
    EXPECT_NEAR(found[0].startSeconds(), 3.0, 0.03);
    EXPECT_NEAR(found[0].endSeconds(), 4.5, 0.03);
    EXPECT_NEAR(found[1].startSeconds(), 5.1, 0.03);
    EXPECT_NEAR(found[1].endSeconds(), 6.5, 0.03);
    EXPECT_THAT(findSpeech(Audio().silence(4).then(Audio().silence(8).noise(0.02)).loudness()), IsEmpty());
}

TEST(SpeechChunks, KeepsAllSpeechInOrderWithinTheMaxLength)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> chance(0, 1);
    for (int round = 0; round < 20; ++round) {
        std::vector<Frames> speech;
        std::size_t at = static_cast<std::size_t>(chance(random) * 100);
        for (int i = 0; i < 60; ++i) {
            // Some stretches last a minute without a pause.
            const auto length = static_cast<std::size_t>(chance(random) < 0.05 ? 6'000 : 10 + chance(random) * 500);
            speech.push_back({.begin = at, .end = at + length});
            at += length + partingSilence + static_cast<std::size_t>(chance(random) * 300);
        }
        const Loudness loudness{.voice = std::vector<float>(at, -20), .hiss = std::vector<float>(at, -40)};
        const std::size_t samples = at * frameSize;
        const auto chunks = makeChunks(speech, loudness, samples);

        std::size_t last = 0;
        std::size_t frames = 0;
        for (const auto& chunk : chunks) {
            EXPECT_LE(chunk.size(), 30U * sampleRate);
            for (const auto& piece : chunk.pieces()) {
                EXPECT_LE(piece.from + piece.count, samples);
                // Speech beside a chunk is not in it, unless no silence separates the two.
                EXPECT_GE(piece.from, (chunk.goesOnBefore() ? last - 40 : last) * frameSize);
            }
            for (const auto& stretch : chunk.speech()) {
                EXPECT_GE(stretch.begin, last);
                last = stretch.end;
                frames += stretch.count();
                // The two conversions are inverse.
                for (const double seconds : {stretch.startSeconds(), stretch.endSeconds()})
                    EXPECT_NEAR(chunk.inRecording(chunk.inChunk(seconds)), seconds, 0.0001);
            }
        }
        std::size_t wanted = 0;
        for (const auto& stretch : speech)
            wanted += stretch.count();
        EXPECT_EQ(frames, wanted);
    }
}

} // namespace

} // namespace orvo::speech
