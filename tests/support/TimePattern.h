#pragma once

#include "TestSupport/Media.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

/// The picture and the sound by which recordings are checked against the time: how they look, and how they are read back.
///
/// A window shows the milliseconds of the monotonic clock as a row of black and white blocks. Its corners have four colours.
/// For the first tenth of every second its lower half is white, and a tone sounds.
namespace orvo::test::TimePattern {

inline constexpr int bits = 24; ///< Of the time in milliseconds.
inline constexpr int period = 16'000'000; ///< Milliseconds after which it begins anew: whole seconds, more than four hours.
inline constexpr int block = 12; ///< Pixels of a block's side.
inline constexpr int left = 24; ///< Where the row of blocks begins, in the window.
inline constexpr int top = 24;
inline constexpr int corner = 16; ///< Pixels of a corner's side.
inline constexpr double flashLength = 0.1; ///< Seconds.
inline constexpr double tone = 1000; ///< Hertz.

/// The time that a recorded picture of the window shows, in seconds, when the window lies there in it; nothing when there is
/// none to be read.
std::optional<double> timeIn(const Frame& frame, int windowX = 0, int windowY = 0);

/// A frame of a file.
struct TimedFrame {
    double time = 0; ///< When it is shown, in seconds of the file.
    std::optional<double> shown; ///< The time in the picture.
    Frame frame;
};

/// Every frame of a file's first video stream, with the window there in its pictures.
std::vector<TimedFrame> framesOf(const std::filesystem::path& file, int windowX = 0, int windowY = 0);

/// When tones begin in a sound file, in seconds of the file.
std::vector<double> toneStarts(const std::filesystem::path& file);

/// When flashes begin among these frames: each at the first frame that shows it, less by how late that came by its own time.
std::vector<double> flashStarts(const std::vector<TimedFrame>& frames);

} // namespace orvo::test::TimePattern
