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

/// Imports movie files into the library.
namespace MovieImport {

/// A movie that was copied into a project folder but is not part of the project yet.
struct CopiedMovie {
    std::string file; ///< Relative to the project folder.
    double duration = 0; ///< Seconds.
    std::int64_t width = 0; ///< Of the upright frame, in pixels; 0 without video.
    std::int64_t height = 0; ///< Of the upright frame, in pixels; 0 without video.
};

/// A new project with the name of the movie's file; bytes that are not UTF-8 become U+FFFD. Not saved.
VideoProject newProject(const std::filesystem::path& movie);

/// Checks a movie and copies it into the folder of `project`, which exists. A project that has tracks also accepts movies
/// with audio only. Throws as `importMovie`.
CopiedMovie copyMovie(const ProjectStore& store, const std::filesystem::path& movie, const VideoProject& project,
    const MediaProbe& probe, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Appends a copied movie to the project. The first track becomes the screen track and determines the frame size; later
/// ones are clips. Does not save. Throws `captureError` if the first track has audio only.
void append(VideoProject& project, const CopiedMovie& movie);

/// Checks a movie, copies it and appends it to the project `target`, or to `newProject`. Returns the changed project, saved.
///
/// Blocks; `progress` receives the copied fraction. Throws `captureError` ("El archivo no contiene una duración válida.", or
/// a text that says why the file is not a movie or that no document can name it), file system errors unchanged, also
/// if `movie` is not a regular file, and `Cancelled`. Then the document of `target` is unchanged; only a complete copy
/// stays. A failure keeps a new project, in the state `ProjectState::importFailed`; cancelling removes it.
VideoProject importMovie(const ProjectStore& store, const std::filesystem::path& movie, std::optional<VideoProject> target,
    const MediaProbe& probe, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Why the movie of a project in the state `ProjectState::importFailed` could not be imported, for the user; empty while it
/// is being imported. Throws file system errors unchanged.
std::string failure(const ProjectStore& store, const Uuid& id);

} // namespace MovieImport

} // namespace orvo
