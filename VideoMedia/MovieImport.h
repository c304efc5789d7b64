#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace orvo {

/// Brings existing movie files into the library.
namespace MovieImport {

/// A movie that lies in a project's folder and is not yet part of the project.
struct CopiedMovie {
    std::string file; ///< Relative to the project folder.
    double duration = 0; ///< Seconds.
    std::int64_t width = 0; ///< Of the upright picture, in pixels; 0 for one that has sound only.
    std::int64_t height = 0; ///< Of the upright picture, in pixels; 0 for one that has sound only.
};

/// Copies a movie into the folder of `project`, which exists. A project that has tracks also takes movies with sound only.
/// Throws as `importMovie`.
CopiedMovie copyMovie(const ProjectStore& store, const std::filesystem::path& movie, const VideoProject& project,
    const MediaProbe& probe, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Adds a copied movie after everything in the project. The first track of a project is its screen track and gives it its
/// size; later ones are clips. Saves nothing. Throws `captureError` for a first track with sound only.
void append(VideoProject& project, const CopiedMovie& movie);

/// Copies a movie into the project `target`, appended after everything in it, or into a new project titled with the file's
/// name. Returns the changed project, saved.
///
/// Blocks; `progress` receives the copied fraction. Throws `captureError` ("El archivo no contiene una duración válida.", or
/// a text that says why the file is no movie), file system errors unchanged, and `Cancelled`. The document of `target` is
/// not changed then, and a finished copy stays. A new project stays after a failure, in the state
/// `ProjectState::importFailed`; cancelled, it is gone.
VideoProject importMovie(const ProjectStore& store, const std::filesystem::path& movie, std::optional<VideoProject> target,
    const MediaProbe& probe, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Why the movie of a project in the state `ProjectState::importFailed` could not be imported, for the user; empty while it
/// is being imported. Throws file system errors unchanged.
std::string failure(const ProjectStore& store, const Uuid& id);

} // namespace MovieImport

} // namespace orvo
