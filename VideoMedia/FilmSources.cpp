#include "VideoMedia/FilmSources.h"

#include "VideoCore/Error.h"
#include "VideoMedia/InParallel.h"
#include "VideoMedia/OverlayImage.h"
#include "VideoMedia/VideoLimits.h"

#include <algorithm>
#include <format>
#include <system_error>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

bool isEasyToDecode(const MediaFacts& facts, RenderGraph::FrameSize size)
{
    if (!facts.video || facts.video->codec != "h264")
        return false;
    return facts.video->width * facts.video->height <= 2 * size.width * size.height;
}

/// Whether a file uses the default colour range without declaring it. The range must then be declared, because otherwise
/// the first filter sets it and copies every frame to do so.
bool leavesRangeOpen(const MediaFacts::Video& video)
{
    return video.codec == "h264" && video.pixelFormat == "yuv420p" && video.colorRange.empty();
}

std::vector<RenderGraph::Input> inputsOf(const VideoProject& project, const ProjectStore& store)
{
    std::vector<MediaTrack> tracks = project.tracks.items();
    std::ranges::stable_sort(tracks, {}, &MediaTrack::start);
    std::vector<RenderGraph::Input> inputs;
    for (auto& track : tracks) {
        fs::path file = store.mediaURL(project, track.file);
        if (!fs::is_regular_file(file))
            throw captureError("Falta un archivo original. Recupera el proyecto antes de exportar.");
        inputs.push_back({.track = std::move(track), .file = std::move(file)});
    }
    return inputs;
}

std::vector<fs::path> imagesOf(const VideoProject& project, const ProjectStore& store, const fs::path& ffmpeg,
    RenderGraph::FrameSize size, const std::stop_token& stop)
{
    std::vector<fs::path> images;
    std::vector<std::string> contents; // Of their overlays.
    std::vector<std::size_t> distinct; // The same image may be used several times.
    for (const auto& overlay : project.edit.overlays) {
        if (overlay.kind != Overlay::Kind::image)
            continue;
        fs::path file = store.mediaURL(project, overlay.content);
        if (!fs::is_regular_file(file))
            throw captureError("Falta una imagen del proyecto.");
        if (overlay.width * static_cast<double>(size.width) > static_cast<double>(VideoLimits::maxSide))
            throw captureError(std::format("El ancho de la imagen «{}» no es válido.", overlay.content));
        if (!std::ranges::contains(images, file))
            distinct.push_back(images.size());
        images.push_back(std::move(file));
        contents.push_back(overlay.content);
    }
    inParallel(distinct.size(), [&](std::size_t i) {
        if (!OverlayImage::isDecodable(ffmpeg, images[distinct[i]], stop))
            throw captureError(std::format("«{}» no es una imagen que se pueda usar.", contents[distinct[i]]));
        return true;
    });
    return images;
}

} // namespace

FilmSources FilmSources::of(const VideoProject& project, const ProjectStore& store, const fs::path& ffmpeg,
    std::int64_t height, const MediaProbe& probe, const std::stop_token& stop)
{
    const auto size = RenderGraph::outputSize(project, height);
    FilmSources sources{.inputs = inputsOf(project, store)};
    const auto allFacts =
        inParallel(sources.inputs.size(), [&](std::size_t i) { return probe.facts(sources.inputs[i].file, stop); });
    for (std::size_t i = 0; i < sources.inputs.size(); ++i) {
        auto& input = sources.inputs[i];
        const auto& facts = allFacts[i];
        const auto kind = input.track.kind;
        const bool shown =
            RenderGraph::isVisibleVideo(input.track) || (kind == TrackKind::camera && project.edit.cameraVisible);
        if (shown && !facts.video) {
            if (kind != TrackKind::clip)
                throw captureError(std::format("«{}» no contiene vídeo.", input.track.file));
            input.hasVideo = false;
        }
        input.hasAudio = facts.audioStreams > 0;
        input.isMono = facts.audio && facts.audio->channels == 1;
        input.fillsFrame =
            facts.video && facts.video->uprightWidth() * size.height == facts.video->uprightHeight() * size.width;
        sources.decoding.push_back({.isEasy = isEasyToDecode(facts, size),
            .isRangeMeant = shown && input.hasVideo && leavesRangeOpen(*facts.video),
            .isTurned = facts.video && facts.video->rotation != 0});
    }
    const auto isSeen = [](const RenderGraph::Input& input) {
        return input.hasVideo && RenderGraph::isVisibleVideo(input.track);
    };
    if (std::ranges::none_of(sources.inputs, isSeen))
        throw captureError("El proyecto no contiene vídeo visible.");
    sources.images = imagesOf(project, store, ffmpeg, size, stop);
    return sources;
}

bool FilmSources::contain(const fs::path& destination) const
{
    const auto isDestination = [&](const fs::path& file) {
        std::error_code ignored;
        return fs::equivalent(file, destination, ignored);
    };
    return std::ranges::any_of(inputs, isDestination, &RenderGraph::Input::file)
        || std::ranges::any_of(images, isDestination);
}

} // namespace orvo
