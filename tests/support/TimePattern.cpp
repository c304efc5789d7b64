#include "TestSupport/TimePattern.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <cmath>
#include <cstdlib>
#include <ranges>
#include <string>
#include <string_view>

namespace orvo::test::TimePattern {

namespace {

constexpr int bright = 170;
constexpr int dark = 85;

/// The times of all frames in seconds, as reported by ffmpeg's metadata filter.
std::vector<double> frameTimes(const std::filesystem::path& file)
{
    const TemporaryFolder folder;
    const auto list = folder / "times";
    ffmpeg({"-i", file.string(), "-map", "0:v:0", "-fps_mode", "passthrough", "-vf",
        "metadata=mode=add:key=k:value=v,metadata=mode=print:file=" + list.string(), "-f", "null", "-"});
    std::vector<double> times;
    constexpr std::string_view label = "pts_time:";
    for (const auto line : readFile(list) | std::views::split('\n')) {
        const std::string text{std::string_view(line)};
        if (const auto at = text.find(label); at != std::string::npos)
            times.push_back(std::atof(text.c_str() + at + label.size()));
    }
    return times;
}

} // namespace

std::optional<double> timeIn(const Frame& frame, int windowX, int windowY)
{
    std::uint32_t milliseconds = 0;
    for (int bit = 0; bit < bits; ++bit) {
        const int x = windowX + left + bit * block + block / 2;
        const int y = windowY + top + block / 2;
        if (x < 0 || y < 0 || x >= frame.width || y >= frame.height)
            return std::nullopt;
        const int brightness = frame.at(x, y).brightness();
        if (brightness > dark && brightness < bright)
            return std::nullopt;
        milliseconds = milliseconds << 1 | (brightness >= bright ? 1 : 0);
    }
    return milliseconds / 1000.0;
}

std::vector<TimedFrame> framesOf(const std::filesystem::path& file, int windowX, int windowY)
{
    const auto times = frameTimes(file);
    auto decoded = decodeFrames(file);
    std::vector<TimedFrame> frames;
    for (auto&& [time, frame] : std::views::zip(times, decoded)) {
        const auto shown = timeIn(frame, windowX, windowY);
        frames.push_back({.time = time, .shown = shown, .frame = std::move(frame)});
    }
    return frames;
}

std::vector<double> toneStarts(const std::filesystem::path& file)
{
    constexpr float loud = 0.05F;
    constexpr std::size_t quietBefore = 48'000 / 5;
    const auto samples = decodeAudio(file);
    std::vector<double> starts;
    std::size_t quiet = quietBefore;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < loud) {
            ++quiet;
        } else {
            if (quiet >= quietBefore)
                starts.push_back(static_cast<double>(i) / 48'000);
            quiet = 0;
        }
    }
    return starts;
}

std::vector<double> flashStarts(const std::vector<TimedFrame>& frames)
{
    std::vector<double> starts;
    bool before = true;
    for (const auto& frame : frames) {
        const bool flashes = frame.frame.mean(0.4, 0.7, 0.6, 0.9).brightness() > bright;
        if (flashes && !before && frame.shown)
            starts.push_back(frame.time - (*frame.shown - std::floor(*frame.shown)));
        before = flashes;
    }
    return starts;
}

} // namespace orvo::test::TimePattern
