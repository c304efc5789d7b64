#pragma once

#include "VideoCore/ProjectStore.h"

#include <optional>
#include <string>

/// Moves projects to the desktop's trash and restores them. Blocking calls for any thread.
namespace orvo::ProjectRemoval {

/// Why a project cannot be removed now, in Spanish: it is being recorded, or a program renders, prepares, publishes or
/// edits it. Returns nullopt when it can. `thisProcessRecords` as for `CaptureSession::isAlive`.
std::optional<std::string> refusal(const VideoProject& project, const ProjectStore& store, bool thisProcessRecords);

/// The warning, in Spanish, that the user must confirm before a project is removed: it is published, or it is a recording
/// that was never prepared. Returns nullopt when no confirmation is needed.
std::optional<std::string> warning(const VideoProject& project);

/// Moves the project's folder to the trash. Throws as `orvo::moveToTrash`.
void moveToTrash(const Uuid& id, const ProjectStore& store);

/// Restores the project's folder from the trash. Throws as `orvo::restoreFromTrash`.
void restore(const Uuid& id, const ProjectStore& store);

} // namespace orvo::ProjectRemoval
