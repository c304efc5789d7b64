#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Real media for tests: made, decoded and measured by ffmpeg.
namespace orvo::test {

/// Runs ffmpeg with these arguments, quietly and overwriting; throws with its output when it fails. Returns what it printed.
std::string ffmpeg(const std::vector<std::string>& arguments);

/// Makes a file from a lavfi graph with one picture output, H.264 as the recorder writes it.
/// For example `makeVideo(file, "testsrc2=size=320x180:rate=30:duration=2")`.
void makeVideo(const std::filesystem::path& file, const std::string& source);

/// Makes an AAC file from a lavfi graph with one sound output.
void makeAudio(const std::filesystem::path& file, const std::string& source);

/// A decoded picture.
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

    /// Mean colour of a rectangle given by fractions of the picture.
    Colour mean(double left, double top, double right, double bottom) const;
};

/// Every frame of a file's first video stream, in order, exactly as stored: no frame repeated or dropped. For small
/// pictures.
std::vector<Frame> decodeFrames(const std::filesystem::path& file);

/// How alike the frames of two films of one size are to the eye, each up to 1: their structural similarity.
std::vector<double> similarity(const std::filesystem::path& one, const std::filesystem::path& other);

/// The first sound stream of a file as mono samples at 48 kHz, −1..1.
std::vector<float> decodeAudio(const std::filesystem::path& file);

/// Root mean square of the samples from `start` to `end` seconds.
double level(const std::vector<float>& samples, double start, double end);

/// What ffprobe says of a file.
struct ProbedFile {
    int width = 0;
    int height = 0;
    int frames = 0; ///< Counted by decoding.
    double videoDuration = 0; ///< Seconds.
    double audioDuration = 0; ///< Seconds; 0 without sound.
    std::string videoCodec;
    std::string pixelFormat;
    std::string audioCodec;
    int audioChannels = 0;
};

ProbedFile probe(const std::filesystem::path& file);

/// Integrated loudness of a file's sound in LUFS (EBU R 128).
double loudness(const std::filesystem::path& file);

} // namespace orvo::test
