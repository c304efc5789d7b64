#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <exception>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// Converts interrupted and browser recordings to files that can be played, edited and exported.
namespace orvo::RecordingPreparation {

/// The result of a conversion. Its files are in the project folder but not part of the project yet.
struct Prepared {
    struct File {
        std::string file; ///< Relative to the project folder.
        double duration = 0; ///< Seconds.
        bool beginsAtZero = false; ///< Whether its beginning was padded or trimmed to that of the recording.
    };

    std::map<Uuid, File> files; ///< By track. Other tracks keep their files.
    std::map<Uuid, std::string> lost; ///< The tracks that could not be converted, with the reason for the user.
    std::optional<std::vector<PointerEvent>> events; ///< Read from the pointer log, for a project without events.

    bool hardwareFailed =
        false; ///< A hardware encoder failed; the software encoder took over. `hardwareFailureText` says so.

    /// The reasons, joined.
    std::string lostText() const;
};

/// The tracks to convert: only browser tracks and unreadable ones, or all.
enum class Which : std::uint8_t { needed, all };

/// Converts tracks to new files beside the originals, which stay.
///
/// A camera or microphone track of a browser that begins after the screen is padded with its first frame or with
/// silence; one that begins before is trimmed. Its `start` becomes 0. A track whose file is missing, damaged or empty
/// is lost; the others are still converted. Blocks; `progress` receives the share of finished tracks. Throws
/// `captureError` (no usable `ffmpeg`, or every track is lost), file system errors unchanged, and `Cancelled`; then no
/// new files remain.
Prepared prepare(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe, Which which,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Replaces the tracks of the project by the converted files and marks it as ready, or as needing recovery if tracks
/// are lost. A track that is longer than the document says, as after an interruption, gets its full length. Does not
/// save.
void apply(VideoProject& project, const Prepared& prepared);

/// Removes the lost tracks from the project and marks it as ready. Does not save.
void dropLost(VideoProject& project, const std::map<Uuid, std::string>& lost);

/// The text for the user if `prepare` throws.
std::string failureText(const std::exception& error);

} // namespace orvo::RecordingPreparation
