#include "VideoMedia/MovieImport.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/FileLock.h"
#include "VideoCore/Utf8.h"
#include "VideoMedia/CopyFile.h"

#include <cmath>
#include <exception>
#include <format>
#include <string_view>

namespace orvo::MovieImport {

namespace fs = std::filesystem;

namespace {

/// Probes a movie or its copy. Errors name the original movie.
MediaFacts factsOf(const fs::path& file, const fs::path& movie, const MediaProbe& probe, const std::stop_token& stop)
{
    try {
        return probe.facts(file, stop);
    } catch (const Error& error) {
        const std::string name = file.filename().string();
        std::string text = error.what();
        if (const auto at = text.find(name); at != std::string::npos)
            throw captureError(text.replace(at, name.size(), movie.filename().string()));
        throw;
    }
}

/// As `factsOf`. Throws `captureError` also for media that cannot be appended to the project.
MediaFacts requireMovie(const fs::path& file, const fs::path& movie, const VideoProject& project, const MediaProbe& probe,
    const std::stop_token& stop)
{
    auto facts = factsOf(file, movie, probe, stop);
    if (!facts.duration || !std::isfinite(*facts.duration) || *facts.duration <= 0)
        throw captureError("El archivo no contiene una duración válida.");
    // The first track determines the frame size.
    if (!facts.video && (project.tracks.empty() || facts.audioStreams == 0))
        throw captureError(std::format("«{}» no contiene vídeo.", movie.filename().string()));
    return facts;
}

constexpr std::string_view failureName = "import-error.txt";

/// Stores the reason for the library to show. Ignores errors, because the caller reports the reason too.
void noteFailure(const ProjectStore& store, const Uuid& id, const std::string& reason)
{
    try {
        writeFileAtomically(store.directory(id) / failureName, reason);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the disk may be full.
    }
}

} // namespace

VideoProject newProject(const fs::path& movie)
{
    return VideoProject::make(validUtf8(movie.stem().string()));
}

CopiedMovie copyMovie(const ProjectStore& store, const fs::path& movie, const VideoProject& project, const MediaProbe& probe,
    const ProgressCallback& progress, const std::stop_token& stop)
{
    CopiedMovie copied{.file = newMediaName(movie)};
    requireMovie(movie, movie, project, probe, stop); // Before the copy, which may take minutes.
    const fs::path copy = store.mediaURL(project, copied.file);
    copyFile(movie, copy, progress, stop);

    const auto facts = requireMovie(copy, movie, project, probe, stop);
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
    VideoProject project = target ? std::move(*target) : newProject(movie);
    const bool isNew = !fs::exists(store.directory(project.id));
    std::optional<FileLock> working;
    if (isNew) {
        project.state = ProjectState::importFailed; // Until it has a track, even if this program is killed.
        store.create(project);
        working = tryLockFolder(store.directory(project.id));
    }
    try {
        append(project, copyMovie(store, movie, project, probe, progress, stop));
    } catch (const Cancelled&) {
        std::error_code ignored;
        if (isNew)
            fs::remove_all(store.directory(project.id), ignored);
        throw;
    } catch (const std::exception& error) {
        if (isNew)
            noteFailure(store, project.id, describe(error));
        throw;
    }
    store.save(project);
    return project;
}

std::string failure(const ProjectStore& store, const Uuid& id)
{
    const fs::path folder = store.directory(id);
    std::error_code ignored;
    if (fs::exists(folder / failureName, ignored))
        return readFile(folder / failureName);
    if (!tryLockFolder(folder))
        return {}; // The import is still running.
    return "La importación se interrumpió.";
}

} // namespace orvo::MovieImport
