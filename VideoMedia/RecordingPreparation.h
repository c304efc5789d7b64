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

/// Makes a recording that was interrupted, or that a browser wrote, into one that can be played, edited and exported.
namespace orvo::RecordingPreparation {

/// What becomes of a recording. The files lie in the project's folder and are not yet part of the project.
struct Prepared {
    struct File {
        std::string file; ///< Relative to the project folder.
        double duration = 0; ///< Seconds.
        bool beginsAtZero = false; ///< What it began later or earlier than the recording was padded or trimmed.
    };

    std::map<Uuid, File> files; ///< By track; those of the others stay as they are.
    std::map<Uuid, std::string> lost; ///< The tracks that could not be converted, with the reason for the user.
    std::optional<std::vector<PointerEvent>> events; ///< Of the pointer log, for a project without events.

    bool hardwareFailed =
        false; ///< A hardware encoder failed; the software encoder took over. `hardwareFailureText` says so.

    /// The reasons, one after another.
    std::string lostText() const;
};

/// Which tracks are converted: those of a browser and those that cannot be read; or all of them.
enum class Which : std::uint8_t { needed, all };

/// Converts tracks to new files beside the old ones, which stay.
///
/// A browser's camera or microphone that begins later than the screen is padded with its first frame or with silence, one
/// that begins earlier is trimmed: its `start` becomes 0. A track whose file is missing, damaged or empty is lost; the
/// others are converted all the same. Blocks; `progress` receives the share of the tracks that are done. Throws
/// `captureError` (no usable `ffmpeg`, or every track is lost), file system errors unchanged, and `Cancelled`; the new files
/// are gone then.
Prepared prepare(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe, Which which,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Makes the prepared files the tracks of the project, which is ready then; with lost tracks it still needs recovery. A
/// track that turned out longer than the project knew, as after an interruption, has its whole length. Saves nothing.
void apply(VideoProject& project, const Prepared& prepared);

/// Takes the lost tracks out of the project, which is ready then. Saves nothing.
void dropLost(VideoProject& project, const std::map<Uuid, std::string>& lost);

/// The text for the user when `prepare` has thrown.
std::string failureText(const std::exception& error);

} // namespace orvo::RecordingPreparation
