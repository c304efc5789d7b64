#pragma once

#include "VideoMedia/RecordingPreparation.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// What becomes of tracks that cannot be prepared.
enum class LostTracks : std::uint8_t {
    kept, ///< The project still needs recovery.
    dropped, ///< The project loses them.
};

/// The outcome of `recoverRecording`.
struct RecoveredRecording {
    RecordingPreparation::Prepared prepared; ///< Empty if nothing could be prepared.
    LostTracks lostTracks = LostTracks::kept;
    bool isPrepared = false; ///< Whether there is anything to apply, maybe without the lost tracks.
    std::string failure; ///< Why the project needs recovery, for the user; empty if it is ready.

    /// Applies the prepared files to the project as it is now, or marks it as needing recovery if there are none. Does not
    /// save.
    void apply(VideoProject& project) const;

    /// Ends the recovery when the project is saved: removes the mark of the recording from its folder. Throws
    /// `captureError` with `failure` instead unless it is empty.
    void finish(const std::filesystem::path& projectFolder) const;
};

/// Prepares the files of an interrupted recording; then the caller applies the outcome, saves the project and finishes.
///
/// Blocks; `progress` receives the share of finished tracks. Throws only `Cancelled`; every other failure is in the outcome.
RecoveredRecording recoverRecording(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    RecordingPreparation::Which which, LostTracks lostTracks, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
