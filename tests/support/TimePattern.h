#pragma once

#include "TestSupport/Media.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

/// The video and audio pattern that shows the time in recordings: its geometry, and functions that read it back.
///
/// A window shows the milliseconds of the monotonic clock as a row of black and white blocks. Its corners have four colours.
/// During the first tenth of every second, its lower half is white and a tone sounds.
namespace orvo::test::TimePattern {

inline constexpr int bits = 24; ///< The number of blocks, one per bit of the time in milliseconds.
inline constexpr int period = 16'000'000; ///< Milliseconds until the time wraps: whole seconds, more than four hours.
inline constexpr int block = 12; ///< Pixels of a block's side.
inline constexpr int left = 24; ///< The position of the row of blocks in the window, in pixels.
inline constexpr int top = 24;
inline constexpr int corner = 16; ///< Pixels of a corner's side.
inline constexpr double flashLength = 0.1; ///< Seconds.
inline constexpr double tone = 1000; ///< Hertz.

/// The time that a recorded frame shows, in seconds, with the window at this position in the frame; nullopt if unreadable.
std::optional<double> timeIn(const Frame& frame, int windowX = 0, int windowY = 0);

/// A frame of a file with its times.
struct TimedFrame {
    double time = 0; ///< When it is shown, in seconds of the file.
    std::optional<double> shown; ///< The time that the pattern in the frame shows; nullopt if unreadable.
    Frame frame;
};

/// All frames of a file's first video stream, with the window at this position in the frames.
std::vector<TimedFrame> framesOf(const std::filesystem::path& file, int windowX = 0, int windowY = 0);

/// The start times of the tones in a file's audio, in seconds of the file.
std::vector<double> toneStarts(const std::filesystem::path& file);

/// The start times of the flashes: the time of each first white frame, minus the delay that its own pattern shows.
std::vector<double> flashStarts(const std::vector<TimedFrame>& frames);

} // namespace orvo::test::TimePattern
