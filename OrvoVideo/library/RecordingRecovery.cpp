#include "OrvoVideo/library/RecordingRecovery.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"

#include <exception>

namespace orvo {

void RecoveredRecording::apply(VideoProject& project) const
{
    if (!isPrepared) {
        project.state = ProjectState::needsRecovery;
        return;
    }
    RecordingPreparation::apply(project, prepared);
    if (lostTracks == LostTracks::dropped)
        RecordingPreparation::dropLost(project, prepared.lost);
}

void RecoveredRecording::finish(const std::filesystem::path& projectFolder) const
{
    if (!failure.empty())
        throw captureError(failure);
    CaptureSession::unmark(projectFolder);
}

RecoveredRecording recoverRecording(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    RecordingPreparation::Which which, LostTracks lostTracks, const ProgressCallback& progress, const std::stop_token& stop)
{
    RecoveredRecording recovered{.lostTracks = lostTracks};
    try {
        recovered.prepared = RecordingPreparation::prepare(project, store, probe, which, progress, stop);
        recovered.isPrepared = true;
        if (!recovered.prepared.lost.empty() && lostTracks == LostTracks::kept)
            recovered.failure = RecordingPreparation::failureText(captureError(recovered.prepared.lostText()));
    } catch (const std::exception& error) {
        if (stop.stop_requested()) // Ctrl-C also reaches the child processes; one may have failed first.
            throw Cancelled();
        recovered.failure = RecordingPreparation::failureText(error);
    }
    return recovered;
}

} // namespace orvo
