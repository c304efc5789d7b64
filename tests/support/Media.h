#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Real media for tests, made, decoded and measured with ffmpeg.
namespace orvo::test {

/// Runs ffmpeg with these arguments, overwriting files. Returns its output; throws with that output if it fails.
std::string ffmpeg(const std::vector<std::string>& arguments);

/// Runs ffmpeg with these arguments, which read no files, and with `file` as its output. Keeps the result in the build
/// folder: tests make the same files again and again, each in a process of its own.
void makeMedia(const std::filesystem::path& file, std::vector<std::string> arguments);

/// Makes an H.264 file from a lavfi graph with one video output.
/// For example `makeVideo(file, "testsrc2=size=320x180:rate=30:duration=2")`.
void makeVideo(const std::filesystem::path& file, const std::string& source);

/// Makes an AAC file from a lavfi graph with one audio output.
void makeAudio(const std::filesystem::path& file, const std::string& source);

/// A decoded frame.
struct Frame {
    struct Colour {
        int red = 0;
        int green = 0;
        int blue = 0;

        int brightness() const { return (red + green + blue) / 3; }
    };

    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels; ///< Red, green, blue.

    Colour at(int x, int y) const;

    /// Mean colour of a rectangle given by fractions of the frame.
    Colour mean(double left, double top, double right, double bottom) const;
};

/// All frames of a file's first video stream, in order, without repeating or dropping any. Keeps all of them in memory, so
/// use it for small frames.
std::vector<Frame> decodeFrames(const std::filesystem::path& file);

/// What a film shows `rate` times per second: frame i is the one at i / `rate` seconds. All pass an ffmpeg video filter
/// first, for example "scale=64:36" to keep large frames small.
std::vector<Frame> framesAtRate(const std::filesystem::path& file, int rate, const std::string& filter = "null");

/// The structural similarity (SSIM) of each pair of frames of two films of the same size; 1 means identical.
std::vector<double> similarity(const std::filesystem::path& one, const std::filesystem::path& other);

/// The first audio stream of a file as mono samples at 48 kHz, −1..1.
std::vector<float> decodeAudio(const std::filesystem::path& file);

/// Root mean square of the samples from `start` to `end` seconds.
double level(const std::vector<float>& samples, double start, double end);

/// Properties of a file as reported by ffprobe.
struct ProbedFile {
    int width = 0;
    int height = 0;
    int frames = 0; ///< Counted by decoding.
    double videoDuration = 0; ///< Seconds.
    double audioDuration = 0; ///< Seconds; 0 without audio.
    std::string videoCodec;
    std::string pixelFormat;
    std::string audioCodec;
    int audioChannels = 0;
};

ProbedFile probe(const std::filesystem::path& file);

/// Integrated loudness of a file's audio in LUFS (EBU R 128).
double loudness(const std::filesystem::path& file);

} // namespace orvo::test
