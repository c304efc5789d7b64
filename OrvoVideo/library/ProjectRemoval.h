#pragma once

#include "VideoCore/ProjectStore.h"

#include <optional>
#include <string>

/// Taking projects out of the library: by the desktop's trash, from where they can be put back. Blocking calls for any
/// thread.
namespace orvo::ProjectRemoval {

/// Why a project cannot go now, for the user: it is being recorded, or some program renders, prepares, publishes or edits
/// it. Returns nullopt when it can. `thisProcessRecords` as for `CaptureSession::isAlive`.
std::optional<std::string> refusal(const VideoProject& project, const ProjectStore& store, bool thisProcessRecords);

/// What the user has to agree to before a project goes: it is published, or a recording that was never prepared. Returns
/// nullopt when there is nothing to ask.
std::optional<std::string> warning(const VideoProject& project);

/// Moves the project's folder to the trash. Throws as `orvo::moveToTrash`.
void moveToTrash(const Uuid& id, const ProjectStore& store);

/// Puts the folder that was last moved to the trash back. Throws as `orvo::restoreFromTrash`.
void restore(const Uuid& id, const ProjectStore& store);

} // namespace orvo::ProjectRemoval
