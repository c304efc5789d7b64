#include "OrvoVideo/model/Values.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoMedia/ExportService.h"

#include <algorithm>

namespace orvo {

CaptureOptions RecordingOptions::capture() const
{
    return {.height = height,
        .fps = fps,
        .microphone = microphone,
        .systemAudio = systemAudio,
        .camera = camera,
        .microphoneDevice = microphoneDevice.toStdString(),
        .systemAudioDevice = systemAudioDevice.toStdString(),
        .cameraDevice = cameraDevice.toStdString()};
}

ExportSettings RunSettings::exports() const
{
    return {.height = options.height, .fps = options.fps, .quality = exportQuality};
}

ProjectFacts ProjectFacts::of(const VideoProject& project, double playableDuration)
{
    const auto& edit = project.edit;
    ProjectFacts facts;
    facts.projectId = Text::from(project.id);
    facts.title = Text::from(project.title);
    facts.state = Text::from(project.state);
    facts.stateText = Text::ofState(project.state);
    facts.recoverable = Text::isRecoverable(project.state);
    facts.createdAt = Text::from(project.createdAt);
    facts.updatedAt = Text::from(project.updatedAt);
    facts.duration = project.duration;
    facts.playableDuration = playableDuration;
    facts.width = static_cast<int>(project.width);
    facts.height = static_cast<int>(project.height);
    facts.fps = static_cast<int>(project.fps);
    facts.hasCamera = std::ranges::contains(project.tracks, TrackKind::camera, &MediaTrack::kind);
    facts.published = project.publication.has_value();
    facts.cameraX = edit.cameraX;
    facts.cameraY = edit.cameraY;
    facts.cameraWidth = edit.cameraWidth;
    facts.cameraVisible = edit.cameraVisible;
    facts.clickHalo = edit.clickHalo;
    facts.pointerHighlight = edit.pointerHighlight;
    facts.noiseReduction = edit.noiseReduction;
    facts.normalizeVoice = edit.normalizeVoice;
    facts.sharpen = edit.sharpen;
    facts.fade = edit.fade;
    return facts;
}

} // namespace orvo
