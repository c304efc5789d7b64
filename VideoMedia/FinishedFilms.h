#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ExportService.h"

#include <filesystem>
#include <optional>
#include <string>

/// Which films of a project lie where, so that an export takes the film of a publication of the same edit, and the other way
/// round, instead of rendering it once more.
///
/// A text file in the project's folder names them, each with what it shows and with the size and the time of its file: a
/// film that was changed, moved or removed is not used.
namespace orvo::FinishedFilms {

/// The digest of everything that a film shows: the edit, the size, the rate, the quality and the files it is made from. The
/// project's title, its transcript (unless it is burned in) and its publication are not part of it.
///
/// Throws as `ProjectStore::mediaURL`.
std::string signature(const VideoProject& project, const ProjectStore& store, const ExportSettings& settings);

/// The film with a signature; nullopt where there is none that can be relied on. Ignores errors.
std::optional<std::filesystem::path> find(
    const VideoProject& project, const ProjectStore& store, const std::string& signature);

/// Keeps where a film is. The oldest of more than eight are forgotten. Ignores errors: the film is complete without it.
void remember(
    const VideoProject& project, const ProjectStore& store, const std::string& signature, const std::filesystem::path& film);

} // namespace orvo::FinishedFilms
