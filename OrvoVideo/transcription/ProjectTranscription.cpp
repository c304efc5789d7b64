#include "OrvoVideo/transcription/ProjectTranscription.h"

#include "VideoCore/WordConfidence.h"
#include "VideoMedia/AnalysisAudio.h"

#include <exception>
#include <filesystem>

namespace orvo {

std::vector<TranscriptWord> transcribeProject(const VideoProject& project, const TranscriptionTools& tools,
    std::string_view locale, TranscriptionOptions options, const ProgressCallback& progress, const std::stop_token& stop)
{
    const std::filesystem::path folder = tools.store.directory(project.id);
    const TranscriptionFile work(folder);
    analysisAudio(project, tools.store, tools.probe, work.path(), stop);
    if (tools.audioReady)
        tools.audioReady();
    options.heard = [&](std::span<const TranscriptWord> words, std::span<const float> probabilities) {
        auto confidence = WordConfidence::read(folder);
        confidence.keepOnly(project.edit.words.items()); // An undo brings them back.
        confidence.add(words, probabilities);
        try {
            confidence.write(folder);
        } catch (const std::exception&) {
            // The words matter more; saving them reports the error.
        }
    };
    return tools.recognise(work.path(), locale, options, progress, stop);
}

} // namespace orvo
