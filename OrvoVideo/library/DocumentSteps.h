#pragma once

#include "VideoCore/ProjectStore.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The last changes that `orvo` made to a project, kept beside its document so that a later `orvo` can take them back.
///
/// They belong to the document that the last of them left, byte for byte: once another program has written the document,
/// none of them is undone, and the next change starts a new history. A project that `orvo` never changed has no such folder;
/// the folder goes to the trash and comes back with its project, and a copy of the project begins without it.
///
/// Blocking calls for any thread. The caller holds the lock on the project's folder.
namespace orvo::DocumentSteps {

/// In the project's folder: NUMBER.json, a version of the document, for each but the present one, and `present`, "NUMBER
/// SHA-256" of the document that the last step left.
inline constexpr std::string_view folderName = "steps";
inline constexpr std::size_t maxSteps = 50;
inline constexpr std::uintmax_t maxBytes = 64'000'000; ///< Of all versions; the oldest go first.

/// Saves `after`, which was made of the stored document `before`, and keeps `before` as the version to go back to. What was
/// undone is forgotten. A change that shows nothing, or of the publication alone, is saved without a step.
///
/// Throws as `ProjectStore::save`; nothing has changed then. A step that cannot be kept is no failure: the steps are
/// forgotten.
void save(const ProjectStore& store, const VideoProject& before, const VideoProject& after);

struct Moved {
    VideoProject project; ///< As saved.
    std::string step; ///< What was taken back or done again: see `EditNames`.
    std::size_t undoable = 0; ///< How many steps can be undone now.
    std::size_t redoable = 0;
};

/// Goes one version back or forward and saves it. The publication stays as it is: it says what is on the server.
///
/// Throws `captureError` when there is no such step or the document is not what the last step left, and as
/// `ProjectStore::load` and `save`; nothing has changed then.
Moved undo(const ProjectStore& store, const Uuid& id);
Moved redo(const ProjectStore& store, const Uuid& id);

} // namespace orvo::DocumentSteps
