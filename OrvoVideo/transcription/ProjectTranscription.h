#pragma once

#include "OrvoVideo/transcription/TranscriptionService.h"
#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"

#include <functional>
#include <stop_token>
#include <string_view>
#include <vector>

namespace orvo {

/// The dependencies of `transcribeProject`.
struct TranscriptionTools {
    const ProjectStore& store;
    const MediaProbe& probe;
    /// Called on the same thread when the audio is prepared and the recognition begins. May be empty.
    std::function<void()> audioReady = {};
    std::function<decltype(TranscriptionService::transcribe)> recognise = TranscriptionService::transcribe;
};

/// Recognises the speech of a project and stores the confidence of the words (`WordConfidence`) in its folder. Keeps the
/// entries of the words in `project`, because an undo brings them back. Returns the words; the document does not change.
///
/// Blocks; `progress` receives the fraction of the recognition. `options.heard` is not called. Throws as
/// `TranscriptionFile`, `analysisAudio` and `TranscriptionService::transcribe`.
std::vector<TranscriptWord> transcribeProject(const VideoProject& project, const TranscriptionTools& tools,
    std::string_view locale, TranscriptionOptions options, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
