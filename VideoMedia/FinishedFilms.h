#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ExportService.h"

#include <filesystem>
#include <optional>
#include <string>

/// Remembers the rendered films of a project, so that exports and publications of the same edit share one render.
///
/// A text file in the project folder lists each film with a digest of what it shows and the size and modification time
/// of its file. A film that was changed, moved or removed is not used.
namespace orvo::FinishedFilms {

/// The digest of everything that determines the frames and audio of a film: the edit, the size, the rate, the quality
/// and the source files. Excludes the title, the publication, and the transcript unless it is burned in.
///
/// Throws as `ProjectStore::mediaURL`.
std::string signature(const VideoProject& project, const ProjectStore& store, const ExportSettings& settings);

/// The film with a signature, or nullopt if there is no unchanged one. Ignores errors.
std::optional<std::filesystem::path> find(
    const VideoProject& project, const ProjectStore& store, const std::string& signature);

/// Remembers a film; drops the oldest beyond eight. Ignores errors: the film is complete without the entry.
void remember(
    const VideoProject& project, const ProjectStore& store, const std::string& signature, const std::filesystem::path& film);

} // namespace orvo::FinishedFilms
