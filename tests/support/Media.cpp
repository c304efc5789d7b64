#include "TestSupport/Media.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/Sha256.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <format>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace orvo::test {

namespace fs = std::filesystem;

namespace {

fs::path program()
{
    const auto found = ProcessRunner::ffmpeg();
    if (!found)
        throw captureError("ffmpeg is missing");
    return *found;
}

} // namespace

std::string ffmpeg(const std::vector<std::string>& arguments)
{
    std::vector<std::string> line{"-hide_banner", "-nostdin", "-y"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    return ProcessRunner::run(program(), line);
}

void makeMedia(const fs::path& file, std::vector<std::string> arguments)
{
    std::string key;
    for (const auto& argument : arguments)
        key += argument + '\n';
    const fs::path cache = ORVO_TEST_MEDIA;
    const std::string name = Sha256::of(key);
    const fs::path kept = cache / (name + file.extension().string());
    if (!fs::exists(kept)) {
        fs::create_directories(cache);
        // Another test may make the same file at the same time.
        const fs::path made = cache / std::format("{}.{}{}", name, ::getpid(), file.extension().string());
        arguments.push_back(made.string());
        ffmpeg(arguments);
        fs::rename(made, kept);
    }
    fs::copy_file(kept, file, fs::copy_options::overwrite_existing);
}

void makeVideo(const fs::path& file, const std::string& source)
{
    makeMedia(file,
        {"-f", "lavfi", "-i", source, "-c:v", "libx264", "-preset", "ultrafast", "-crf", "12", "-pix_fmt", "yuv420p", "-g",
            "60"});
}

void makeAudio(const fs::path& file, const std::string& source)
{
    makeMedia(file, {"-f", "lavfi", "-i", source, "-c:a", "aac", "-b:a", "160k", "-ar", "48000"});
}

Frame::Colour Frame::at(int x, int y) const
{
    const auto index = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
    return {.red = pixels.at(index), .green = pixels.at(index + 1), .blue = pixels.at(index + 2)};
}

Frame::Colour Frame::mean(double left, double top, double right, double bottom) const
{
    Colour sum;
    int count = 0;
    for (int y = static_cast<int>(top * height); y < static_cast<int>(bottom * height); ++y) {
        for (int x = static_cast<int>(left * width); x < static_cast<int>(right * width); ++x, ++count) {
            const auto colour = at(x, y);
            sum.red += colour.red;
            sum.green += colour.green;
            sum.blue += colour.blue;
        }
    }
    count = std::max(count, 1);
    return {.red = sum.red / count, .green = sum.green / count, .blue = sum.blue / count};
}

std::vector<Frame> decodeFrames(const fs::path& file)
{
    const TemporaryFolder folder;
    ffmpeg({"-i", file.string(), "-map", "0:v:0", "-fps_mode", "passthrough", "-f", "image2pipe", "-c:v", "ppm", "-pix_fmt",
        "rgb24", (folder / "frames").string()});
    const std::string bytes = readFile(folder / "frames");
    std::vector<Frame> frames;
    for (std::size_t at = 0; at < bytes.size();) {
        std::istringstream header(bytes.substr(at, 32));
        std::string format;
        Frame frame;
        int brightest = 0;
        header >> format >> frame.width >> frame.height >> brightest;
        const auto pixels = bytes.begin() + static_cast<std::ptrdiff_t>(at) + header.tellg() + 1; // After a line feed.
        const auto end = pixels + std::ptrdiff_t{3} * frame.width * frame.height;
        frame.pixels.assign(pixels, end);
        at = static_cast<std::size_t>(end - bytes.begin());
        frames.push_back(std::move(frame));
    }
    return frames;
}

std::vector<Frame> framesAtRate(const fs::path& file, int rate, const std::string& filter)
{
    const TemporaryFolder folder;
    const fs::path even = folder / "even.mkv";
    ffmpeg(
        {"-i", file.string(), "-vf", filter, "-fps_mode", "cfr", "-r", std::to_string(rate), "-c:v", "ffv1", even.string()});
    return decodeFrames(even);
}

std::vector<double> similarity(const fs::path& one, const fs::path& other)
{
    const TemporaryFolder folder;
    const fs::path figures = folder / "ssim.txt";
    ffmpeg({"-i", one.string(), "-i", other.string(), "-filter_complex", "[0:v][1:v]ssim=stats_file=" + figures.string(),
        "-f", "null", "-"});
    std::vector<double> result;
    std::istringstream lines(readFile(figures));
    for (std::string line; std::getline(lines, line);)
        result.push_back(std::stod(line.substr(line.find("All:") + 4)));
    return result;
}

std::vector<float> decodeAudio(const fs::path& file)
{
    const TemporaryFolder folder;
    ffmpeg({"-i", file.string(), "-map", "0:a:0", "-ac", "1", "-ar", "48000", "-f", "f32le", (folder / "samples").string()});
    const std::string bytes = readFile(folder / "samples");
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

double level(const std::vector<float>& samples, double start, double end)
{
    const auto index = [&](double seconds) {
        return std::min(static_cast<std::size_t>(std::max(seconds, 0.0) * 48'000), samples.size());
    };
    double sum = 0;
    const std::size_t first = index(start);
    const std::size_t last = index(end);
    for (std::size_t i = first; i < last; ++i)
        sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
    return last > first ? std::sqrt(sum / static_cast<double>(last - first)) : 0;
}

ProbedFile probe(const fs::path& file)
{
    const std::string streams = ProcessRunner::run(fs::canonical(program()).parent_path() / "ffprobe",
        {"-v", "error", "-count_frames", "-show_entries",
            "stream=codec_type,width,height,nb_read_frames,duration,codec_name,pix_fmt,channels", "-of", "compact=p=0",
            file.string()});
    /// A fact about the first stream of a type, empty without one.
    const auto text = [&](const std::string& type, const std::string& name) {
        const std::regex line("(^|\n)(?=[^\n]*codec_type=" + type + ")([^\n]*\\|)?" + name + "=([^|\n]*)");
        std::smatch found;
        return std::regex_search(streams, found, line) ? found[3].str() : std::string();
    };
    const auto whole = [&](const std::string& type, const std::string& name) { return std::atoi(text(type, name).c_str()); };
    return {.width = whole("video", "width"),
        .height = whole("video", "height"),
        .frames = whole("video", "nb_read_frames"),
        .videoDuration = std::atof(text("video", "duration").c_str()),
        .audioDuration = std::atof(text("audio", "duration").c_str()),
        .videoCodec = text("video", "codec_name"),
        .pixelFormat = text("video", "pix_fmt"),
        .audioCodec = text("audio", "codec_name"),
        .audioChannels = whole("audio", "channels")};
}

double loudness(const fs::path& file)
{
    const std::string report = ffmpeg({"-i", file.string(), "-map", "0:a:0", "-af", "ebur128", "-f", "null", "-"});
    const std::size_t summary = report.rfind("Integrated loudness:");
    const std::size_t value = report.find("I:", summary);
    return std::atof(report.c_str() + value + 2);
}

} // namespace orvo::test
