#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// The lowest and highest values of a sound in every small stretch of it, kept at several resolutions, so that any part of
/// it is drawn at any scale in a time that depends on the number of pixels alone.
///
/// A value. Values of the sound are -1..1.
class WaveformPeaks {
public:
    /// Samples per second that are reduced.
    static constexpr int sampleRate = 8000;
    /// Samples in one stretch of the finest resolution: 5 ms.
    static constexpr int samplesPerPeak = 40;

    struct Peak {
        float low = 0;
        float high = 0;

        friend bool operator==(const Peak&, const Peak&) = default;
    };

    /// Reduces a mono sound with `sampleRate`.
    static WaveformPeaks of(std::span<const std::int16_t> samples);

    /// Adds samples behind the present ones. Call `finish` after the last.
    void add(std::span<const std::int16_t> samples);
    void finish();

    /// Seconds of sound.
    double duration() const noexcept;
    bool empty() const noexcept { return m_levels.empty() || m_levels.front().empty(); }

    /// The lowest and highest value between two times; silence where there is no sound.
    Peak between(double start, double end) const;

    /// The bytes to keep, and the way back; nothing for bytes that are none of this.
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

    std::vector<Level> m_levels; ///< The first is the finest; each further one has a quarter of the stretches.
    int m_pending = 0; ///< Samples of the stretch that is not full yet.
    std::int16_t m_low = 0;
    std::int16_t m_high = 0;
};

} // namespace orvo
