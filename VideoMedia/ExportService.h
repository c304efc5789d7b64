#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace orvo {

/// What an export leaves beside the video.
enum class SubtitleCues : std::uint8_t {
    words, ///< One cue for each word.
    phrases, ///< Cues that people can read: `Phrases`.
    none,
};

/// What an export makes.
enum class ExportFormat : std::uint8_t {
    mp4, ///< H.264 and AAC.
    webm, ///< VP9 and Opus.
    audio, ///< The sound alone, AAC in MPEG-4.
    gif, ///< An animated image without sound.
};

/// How a project is rendered.
struct ExportSettings {
    std::int64_t height = 1080; ///< Asked height in pixels, at least 1; the output is never larger than the project.
    std::int64_t fps = 30; ///< Output frames per second, 1 to `VideoLimits::highestRate`.
    std::string quality = "balanced"; ///< "small", "high", or anything else for "balanced".
    SubtitleCues subtitles = SubtitleCues::words;
    bool burnIn = false; ///< Whether these subtitles are also part of the frames.
    ExportFormat format = ExportFormat::mp4;
    std::optional<TimeSpan> span; ///< The only stretch of the recording timeline that is exported; everything without one.
    /// How large the film may become, MP4 only: its bit rate and, where that is little, its height follow.
    std::optional<std::int64_t> maxBytes;
    bool isTemporary = false; ///< Whether the film is removed soon, so that later exports cannot take it.

    /// The subtitles that the frames show.
    SubtitleCues burned() const noexcept { return burnIn ? subtitles : SubtitleCues::none; }

    friend bool operator==(const ExportSettings&, const ExportSettings&) = default;
};

/// Renders projects with `ffmpeg`. Stateless; blocking calls for worker threads.
namespace ExportService {

/// The SubRip file that an export to `video` leaves beside it.
std::filesystem::path subtitleFile(const std::filesystem::path& video);

/// Whether an export leaves a subtitle file.
bool hasSubtitleFile(const ExportSettings& settings);

/// ".mp4", ".webm", ".m4a" or ".gif".
std::string_view extensionOf(ExportFormat format);

/// Seconds that an export with these settings is long.
double exportedDuration(const VideoProject& project, const ExportSettings& settings);

/// What the user should know about work that succeeded.
struct Outcome {
    bool hardwareFailed = false; ///< A hardware encoder failed; the software encoder took over.
    std::optional<std::filesystem::path> keptSubtitles; ///< The copy of subtitles that no export wrote.

    /// One sentence for each, in Spanish; empty if there is nothing to say.
    std::string remarks() const;
};

/// Renders the edit of a project, whole or in part, to the file `destination`, whose name has the extension of the format.
/// Films have the transcript as a SubRip file of the same name beside them.
///
/// A film that an export made of the same edit in the same size, rate and quality is copied instead of rendered once more,
/// if it is still as it was: `FinishedFilms`.
///
/// Both are made in a hidden folder beside `destination` and take their names when they are complete and on the disk: older
/// files stay when the export fails or is cancelled. Subtitles that no export wrote, or that were corrected since, are kept
/// as "NAME.srt.bak". `progress` receives 0..1 during the final render. Both work folders, here and in the project's folder,
/// are removed however the call ends; those that a killed process left are removed by the next export.
///
/// Throws `captureError` with a text for the user (no usable `ffmpeg`, nothing visible to render, a size, a length or a
/// frame rate that no video has, a missing file, an
/// image that cannot be decoded, a destination with another extension or one of the project's own files, a size that nothing
/// fits in, a failed `ffmpeg`), file system errors unchanged, and `Cancelled`.
Outcome exportVideo(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& destination,
    const ExportSettings& settings, const MediaProbe& probe, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

/// Makes a package for encrypted streaming (HLS) from the rendered movie `from` of a project: in the folder `destination`,
/// which is made when needed, a new key ("key.bin"), a folder with playlist and segments for each step of `HlsLadder`, the
/// master playlist, the subtitles ("captions.vtt") and a still of the first frame ("poster.jpg").
///
/// Steps are encoded side by side, as many as the cores and the memory allow. Where the movie already is what a step needs,
/// its frames are copied: the size, key frames every 6 seconds, and no segment above what the master playlist declares.
///
/// The master playlist is written when every step is complete: a folder that has it has all of them. What lies in the folder
/// under other names is left alone. `progress` receives 0..1.
///
/// Throws `captureError` with a text for the user (no `ffmpeg`, a project without a usable size, a failed or incomplete run
/// of `ffmpeg`), file system errors unchanged, and `Cancelled`. The steps made so far stay then; the file that tells
/// `ffmpeg` where the key is ("key-info.txt") never does.
Outcome hls(const std::filesystem::path& from, const VideoProject& project, const std::filesystem::path& destination,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// The marks and texts that are burned into the picture, as an Advanced SubStation Alpha document: pointer, highlight, click
/// halos and text overlays, at recording times, for an output of `width` × `height` pixels. Pure.
std::string annotations(const VideoProject& project, std::int64_t width, std::int64_t height);

} // namespace ExportService

} // namespace orvo
