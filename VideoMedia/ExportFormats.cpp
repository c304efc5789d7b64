#include "VideoMedia/ExportFormats.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <format>

namespace orvo::ExportFormats {

namespace {

constexpr std::int64_t smallAudioBitRate = 64'000;
constexpr std::int64_t minBitRate = 60'000; ///< Bits per second at which text is still readable.
constexpr double containerShare = 0.03; ///< Share of a film's bytes; measured at low bit rates, where it is largest.

std::int64_t audioRate(const ExportSettings& settings)
{
    return settings.maxBytes ? smallAudioBitRate : HlsLadder::audioBitRate; // Packages can copy it.
}

} // namespace

Limited limited(const VideoProject& project, const ExportSettings& settings, double seconds)
{
    const double bits = static_cast<double>(settings.maxBytes.value_or(0)) * 8 * (1 - containerShare);
    const auto bitRate = static_cast<std::int64_t>(bits / std::max(seconds, 1.0)) - audioRate(settings);
    if (bitRate < minBitRate) {
        throw captureError(std::format("{} minutos no caben en {} MB. Exporta solo una parte, o sin límite de tamaño.",
            static_cast<std::int64_t>(std::ceil(seconds / 60)), settings.maxBytes.value_or(0) / 1'000'000));
    }
    // Bits per pixel and frame that keep text sharp on a mostly static screen.
    constexpr double bitsPerPixel = 0.02;
    constexpr std::array<std::int64_t, 3> smaller{720, 540, 360};
    Limited result{.height = settings.height, .bitRate = bitRate};
    for (const auto height : smaller) {
        const auto size = RenderGraph::outputSize(project, result.height);
        const auto needed = static_cast<double>(size.width * size.height * settings.fps) * bitsPerPixel;
        if (needed <= static_cast<double>(bitRate))
            break;
        result.height = std::min(result.height, height);
    }
    return result;
}

VideoEncoder webmEncoder()
{
    // The bit rate is only the limit of a constant quality: a mostly static screen takes much less.
    return {.name = "libvpx-vp9",
        .options = {"-deadline", "good", "-cpu-used", "5", "-row-mt", "1", "-tile-columns", "2", "-crf", "32"}};
}

std::vector<std::string> commonArguments()
{
    return ffmpegArguments({"-filter_complex_threads", "1"});
}

std::vector<std::string> audioArguments(const ExportSettings& settings)
{
    const char* encoder = settings.format == ExportFormat::webm ? "libopus" : "aac";
    return {"-c:a", encoder, "-ar", "48000", "-b:a", std::to_string(audioRate(settings))};
}

std::vector<std::string> containerArguments(ExportFormat format)
{
    if (format == ExportFormat::webm)
        return {};
    return {"-movflags", "+faststart"};
}

void makeGif(const std::filesystem::path& ffmpeg, const std::filesystem::path& film, const std::filesystem::path& palette,
    const std::filesystem::path& target, double seconds, const ProgressCallback& progress, const std::stop_token& stop)
{
    // Decodes the film twice, because keeping its frames would take much memory.
    ProcessRunner::run(ffmpeg,
        ffmpegArguments(
            {"-i", film.string(), "-vf", "palettegen=stats_mode=diff", "-frames:v", "1", "-update", "1", palette.string()}),
        {}, 0, stop);
    ProcessRunner::run(ffmpeg,
        ffmpegArguments({"-i", film.string(), "-i", palette.string(), "-filter_complex",
            "[0:v][1:v]paletteuse=dither=bayer:bayer_scale=5:diff_mode=rectangle", "-loop", "0", "-f", "gif", "-progress",
            "pipe:1", target.string()}),
        progress, seconds, stop);
}

} // namespace orvo::ExportFormats
