#include "VideoMedia/HlsLadder.h"

#include "VideoCore/Error.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/VideoLimits.h"

#include <algorithm>
#include <array>
#include <format>
#include <iterator>

namespace orvo::HlsLadder {

namespace {

constexpr std::array<std::int64_t, 5> heights{480, 720, 1080, 1440, 2160};
constexpr double bitsPerPixel = 0.09;
constexpr std::int64_t minBitRate = 400'000;
constexpr double bandwidthReserve = 1.25; ///< Segments vary around the mean.

std::int64_t even(std::int64_t value)
{
    return value & ~std::int64_t{1};
}

Rendition rendition(const VideoProject& project, std::int64_t height)
{
    const double width =
        static_cast<double>(height) * static_cast<double>(project.width) / static_cast<double>(project.height);
    Rendition result{.width = even(static_cast<std::int64_t>(width)), .height = height};
    if (result.width < 2)
        throw captureError("El tamaño del proyecto no es válido.");
    const auto pixelRate = static_cast<double>(result.width * result.height * project.fps);
    result.bitRate = std::max(static_cast<std::int64_t>(pixelRate * bitsPerPixel), minBitRate);
    result.keyFrameInterval = project.fps * segmentSeconds;
    result.bandwidth = static_cast<std::int64_t>(static_cast<double>(result.bitRate) * bandwidthReserve) + audioBitRate;
    return result;
}

} // namespace

std::vector<std::string> forcedKeyFrames()
{
    return {"-force_key_frames", std::format("expr:gte(t,n_forced*{})", segmentSeconds)};
}

std::vector<Rendition> of(const VideoProject& project)
{
    const auto isSide = [](std::int64_t side) { return side >= 2 && side <= VideoLimits::maxSide; };
    if (!isSide(project.width) || !isSide(project.height))
        throw captureError("El tamaño del proyecto no es válido.");
    if (!VideoLimits::isRate(project.fps))
        throw captureError("La frecuencia de fotogramas del proyecto no es válida.");
    std::vector<Rendition> ladder;
    if (project.height < heights.front())
        ladder.push_back(rendition(project, even(project.height)));
    for (const std::int64_t height : heights) {
        if (height <= project.height)
            ladder.push_back(rendition(project, height));
    }
    return ladder;
}

Arguments encoderArguments(const VideoEncoder& encoder, const Rendition& step)
{
    Arguments line = encoder.plainArguments(step.bitRate);
    if (encoder.name != systemEncoder)
        append(line, {"-maxrate", std::to_string(step.bitRate), "-bufsize", std::to_string(step.bitRate / 2)});
    append(line, encoder.noFinerThan(RenderGraph::minQuantizer(ExportQuality::balanced)));
    append(line, {"-g", std::to_string(step.keyFrameInterval)});
    return line;
}

std::string scaling(std::string_view from, std::span<const Rendition> steps, std::span<const std::string> uploads)
{
    std::string graph;
    std::string source(from);
    for (std::size_t n = steps.size(); n-- > 0;) {
        graph += std::format("{}[{}]scale={}:{}", graph.empty() ? "" : ";", source, steps[n].width, steps[n].height);
        if (n > 0) {
            source = std::format("larger{}", n);
            graph += std::format(",split=2[{}]", source);
            if (!uploads[n].empty())
                graph += std::format("[raw{0}];[raw{0}]{1}", n, uploads[n]);
        } else if (!uploads[n].empty()) {
            graph += "," + uploads[n];
        }
        graph += std::format("[step{}]", n);
    }
    return graph;
}

std::string masterPlaylist(std::span<const Rendition> ladder)
{
    std::string text = "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-INDEPENDENT-SEGMENTS\n";
    for (const auto& step : ladder) {
        std::format_to(std::back_inserter(text), "#EXT-X-STREAM-INF:BANDWIDTH={},RESOLUTION={}x{}\n{}/index.m3u8\n",
            step.bandwidth, step.width, step.height, step.height);
    }
    return text;
}

} // namespace orvo::HlsLadder
