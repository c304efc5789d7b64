#include "VideoMedia/MovieImport.h"

#include "VideoCore/Error.h"
#include "VideoMedia/CopyFile.h"

#include <cmath>
#include <format>

namespace orvo::MovieImport {

namespace fs = std::filesystem;

namespace {

/// Probes a copy. Errors name the original movie.
MediaFacts factsOf(const fs::path& copy, const fs::path& movie, const MediaProbe& probe, const std::stop_token& stop)
{
    try {
        return probe.facts(copy, stop);
    } catch (const Error& error) {
        const std::string name = copy.filename().string();
        std::string text = error.what();
        if (const auto at = text.find(name); at != std::string::npos)
            throw captureError(text.replace(at, name.size(), movie.filename().string()));
        throw;
    }
}

} // namespace

CopiedMovie copyMovie(const ProjectStore& store, const fs::path& movie, const VideoProject& project, const MediaProbe& probe,
    const ProgressCallback& progress, const std::stop_token& stop)
{
    CopiedMovie copied{
        .file = std::format("media/{}{}", Uuid::random().text(), movie.has_extension() ? movie.extension().string() : ".")};
    const fs::path copy = store.mediaURL(project, copied.file);
    copyFile(movie, copy, progress, stop);

    const auto facts = factsOf(copy, movie, probe, stop);
    if (!facts.duration || !std::isfinite(*facts.duration) || *facts.duration <= 0)
        throw captureError("El archivo no contiene una duración válida.");
    // The first track determines the frame size.
    if (!facts.video && (project.tracks.empty() || facts.audioStreams == 0))
        throw captureError(std::format("«{}» no contiene vídeo.", movie.filename().string()));
    copied.duration = *facts.duration;
    if (facts.video) {
        copied.width = facts.video->uprightWidth();
        copied.height = facts.video->uprightHeight();
    }
    return copied;
}

void append(VideoProject& project, const CopiedMovie& movie)
{
    const bool first = project.tracks.empty();
    if (first && movie.width == 0) // The other tracks were removed during the copy.
        throw captureError("La película no contiene vídeo y el proyecto ya no tiene otras pistas.");
    if (first) {
        project.width = movie.width;
        project.height = movie.height;
    }
    project.tracks.edit().push_back({.kind = first ? TrackKind::screen : TrackKind::clip,
        .file = movie.file,
        .start = project.duration,
        .duration = movie.duration});
    project.duration += movie.duration;
    project.state = ProjectState::ready;
}

VideoProject importMovie(const ProjectStore& store, const fs::path& movie, std::optional<VideoProject> target,
    const MediaProbe& probe, const ProgressCallback& progress, const std::stop_token& stop)
{
    VideoProject project = target ? std::move(*target) : VideoProject::make(movie.stem().string());
    const bool isNew = !fs::exists(store.directory(project.id));
    if (isNew)
        store.create(project);
    try {
        append(project, copyMovie(store, movie, project, probe, progress, stop));
    } catch (const Cancelled&) {
        std::error_code ignored;
        if (isNew)
            fs::remove_all(store.directory(project.id), ignored);
        throw;
    }
    store.save(project);
    return project;
}

} // namespace orvo::MovieImport
