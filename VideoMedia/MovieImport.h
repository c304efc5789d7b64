#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <optional>
#include <stop_token>

namespace orvo {

/// Brings existing movie files into the library.
namespace MovieImport {

/// Copies a movie into the project `target`, appended after everything in it, or into a new project titled with the file's
/// name. Returns the changed project, saved. The first track of a project is its screen track and gives it its size; later
/// ones are clips.
///
/// Blocks; `progress` receives the copied fraction. Throws `captureError` ("El archivo no contiene una duración válida.", or
/// a text that says why the file is no movie), file system errors unchanged, and `Cancelled`. The project's document is not
/// changed then; a finished copy, and the folder made for a new project, stay.
VideoProject importMovie(const ProjectStore& store, const std::filesystem::path& movie, std::optional<VideoProject> target,
    const MediaProbe& probe, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace MovieImport

} // namespace orvo
