#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// The lowest and highest values of every short span of an audio signal, at several resolutions. Drawing any part at any
/// scale takes time proportional to the number of pixels.
///
/// A value. Amplitudes are -1..1.
class WaveformPeaks {
public:
    /// Sample rate of the input, in Hz.
    static constexpr int sampleRate = 8000;
    /// Samples per span at the finest resolution: 5 ms.
    static constexpr int samplesPerPeak = 40;

    struct Peak {
        float low = 0;
        float high = 0;

        friend bool operator==(const Peak&, const Peak&) = default;
    };

    /// Reduces mono audio at `sampleRate`.
    static WaveformPeaks of(std::span<const std::int16_t> samples);

    /// Appends samples. Call `finish` after the last.
    void add(std::span<const std::int16_t> samples);
    void finish();

    /// Duration of the audio, in seconds.
    double duration() const noexcept;
    bool empty() const noexcept { return m_levels.empty() || m_levels.front().empty(); }

    /// The lowest and highest value between two times, in seconds; zeros outside the audio.
    Peak between(double start, double end) const;

    /// Cache encoding. `decoded` returns nullopt for foreign data.
    std::string encoded() const;
    static std::optional<WaveformPeaks> decoded(std::string_view bytes);

private:
    struct Stored {
        std::int8_t low = 0;
        std::int8_t high = 0;
    };
    using Level = std::vector<Stored>;

    void take(std::int16_t sample);
    void closePeak();
    void buildLevels();

    std::vector<Level> m_levels; ///< Finest first; each following level has a quarter of the spans.
    int m_pending = 0; ///< Samples in the incomplete span.
    std::int16_t m_low = 0;
    std::int16_t m_high = 0;
};

} // namespace orvo
