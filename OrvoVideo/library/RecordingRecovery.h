#pragma once

#include "VideoMedia/RecordingPreparation.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// The handling of tracks that cannot be prepared.
enum class LostTracks : std::uint8_t {
    kept, ///< The project still needs recovery.
    dropped, ///< They are removed from the project.
};

/// The outcome of `recoverRecording`.
struct RecoveredRecording {
    RecordingPreparation::Prepared prepared; ///< Empty if nothing could be prepared.
    LostTracks lostTracks = LostTracks::kept;
    bool isPrepared = false; ///< Whether there is anything to apply, possibly without the lost tracks.
    std::string failure; ///< Why the project needs recovery, for the user; empty if it is ready.

    /// Applies the prepared files to the project as it is now, or marks it as needing recovery if there are none. Does not
    /// save.
    void apply(VideoProject& project) const;

    /// Ends the recovery after the project is saved: removes the recording mark from its folder. If `failure` is set,
    /// throws it as `captureError` instead.
    void finish(const std::filesystem::path& projectFolder) const;
};

/// Prepares the files of an interrupted recording. The caller then applies the outcome, saves the project and calls
/// `finish`.
///
/// Blocks; `progress` receives the fraction of finished tracks. Throws only `Cancelled`; the outcome holds other failures.
RecoveredRecording recoverRecording(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    RecordingPreparation::Which which, LostTracks lostTracks, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
