#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ExportQuality.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace orvo {

/// The subtitle file that an export writes beside the video.
enum class SubtitleCues : std::uint8_t {
    words, ///< One cue for each word.
    phrases, ///< Readable cues, from `Phrases`.
    none,
};

/// The format of an export.
enum class ExportFormat : std::uint8_t {
    mp4, ///< H.264 and AAC.
    webm, ///< VP9 and Opus.
    audio, ///< Audio only, AAC in MPEG-4.
    gif, ///< An animated image without audio.
};

/// The settings of an export.
struct ExportSettings {
    std::int64_t height = 1080; ///< Requested height in pixels, at least 1; the output is never larger than the project.
    std::int64_t fps = 30; ///< Output frames per second, 1 to `VideoLimits::maxRate`.
    ExportQuality quality = ExportQuality::balanced;
    SubtitleCues subtitles = SubtitleCues::words;
    bool burnIn = false; ///< Whether these subtitles are also part of the frames.
    ExportFormat format = ExportFormat::mp4;
    std::optional<TimeSpan> span; ///< The stretch of the recording timeline to export; nullopt exports everything.
    /// The maximum file size, MP4 only. Reduces the bit rate and, if that is not enough, the height.
    std::optional<std::int64_t> maxBytes;
    bool isWhole = false; ///< Whether the film is rendered in one run, without pieces of other exports.
    bool isTemporary = false; ///< Whether the film is removed soon, so that later exports must not reuse it.
    /// Whether the film is for a streaming package, so that its smaller steps may be rendered beside it: see `stepFilm`.
    bool isStreamed = false;

    /// The subtitles that the frames show.
    SubtitleCues burned() const noexcept { return burnIn ? subtitles : SubtitleCues::none; }

    friend bool operator==(const ExportSettings&, const ExportSettings&) = default;
};

/// Renders projects with `ffmpeg`. Stateless; blocking calls for worker threads.
namespace ExportService {

/// The SubRip file that an export to `video` writes beside it.
std::filesystem::path subtitleFile(const std::filesystem::path& video);

/// The film of a smaller step of a streaming package that an export to `video` may write beside it: the same frames and
/// audio at `height`. The name is `video`'s with a hyphen and the height.
std::filesystem::path stepFilm(const std::filesystem::path& video, std::int64_t height);

/// Whether an export writes a subtitle file.
bool hasSubtitleFile(const ExportSettings& settings);

/// ".mp4", ".webm", ".m4a" or ".gif".
std::string_view extensionOf(ExportFormat format);

/// The length of an export with these settings, in seconds.
double exportedDuration(const VideoProject& project, const ExportSettings& settings);

/// Notices for the user about work that succeeded.
struct Outcome {
    bool hardwareFailed = false; ///< A hardware encoder failed; the software encoder took over.
    std::optional<std::filesystem::path> keptSubtitles; ///< The copy of subtitles that no export wrote.

    /// One sentence for each notice, in Spanish; empty if there are none.
    std::string remarks() const;
};

/// Renders the edit of a project, whole or in part, to the file `destination`, whose name has the extension of the format.
/// Writes the transcript beside a film, as a SubRip file of the same name.
///
/// Copies the film of an earlier export instead of rendering again if it shows the same edit in the same size, rate and
/// quality and its file is unchanged: see `FinishedFilms`.
///
/// Renders long films in pieces and takes pieces of earlier exports from the user's cache: see `PiecedFilm`.
///
/// If the film is for a streaming package and rendered in pieces, the films of the smaller steps of `HlsLadder` are
/// encoded from the same frames and written beside it. Those of an older film are removed first.
///
/// All files are written to a hidden folder beside `destination` and renamed when they are complete and on disk: older
/// files survive a failed or cancelled export. Subtitles that no export wrote, or that were corrected later, are kept
/// as "NAME.srt.bak". `progress` receives 0..1 during the final render. The two work folders, here and in the project
/// folder, are removed when the call ends; the next export removes those of a killed process.
///
/// Throws `captureError` with a text for the user (no usable `ffmpeg`, no visible video, an unsupported size,
/// length or frame rate, a missing file, an undecodable image, a destination with another extension or one of the project's
/// own files, a maximum size that is too small, a failed `ffmpeg`), file system errors unchanged, and `Cancelled`.
Outcome exportVideo(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& destination,
    const ExportSettings& settings, const MediaProbe& probe, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

/// Makes a package for encrypted streaming (HLS) from the rendered movie `from` of a project. Creates the folder
/// `destination` if needed and writes to it a new key ("key.bin"), a folder with playlist and segments for each step of
/// `HlsLadder`, the master playlist, the subtitles ("captions.vtt") and a still of the first frame ("poster.jpg").
///
/// Encodes as many steps in parallel as cores and memory allow. Copies the frames of the movie, or of a film that
/// `exportVideo` wrote beside it, for a step that they already suit: the right size, key frames every 6 seconds, and no
/// segment above the bit rate that the master playlist declares.
///
/// The master playlist is written last: a folder that has it is complete. Other files in the folder are left alone.
/// `progress` receives 0..1.
///
/// Throws `captureError` with a text for the user (no `ffmpeg`, a project without a usable size, a failed or incomplete
/// run of `ffmpeg`), file system errors unchanged, and `Cancelled`. Steps that are complete stay; the file that gives
/// `ffmpeg` the path of the key ("key-info.txt") does not.
Outcome hls(const std::filesystem::path& from, const VideoProject& project, const std::filesystem::path& destination,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// The marks and texts that are burned into the frames, as an Advanced SubStation Alpha document: pointer, highlight, click
/// halos and text overlays, at recording times, for an output of `width` × `height` pixels. Pure.
std::string annotations(const VideoProject& project, std::int64_t width, std::int64_t height);

} // namespace ExportService

} // namespace orvo
