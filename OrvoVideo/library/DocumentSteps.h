#pragma once

#include "VideoCore/ProjectStore.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The undo history of `orvo`: earlier versions of a project's document, stored in the project's folder so that a later
/// `orvo` can undo changes.
///
/// The history is valid only for the exact bytes that the last step wrote: once another program has written the document,
/// nothing can be undone, and the next change starts a new history. The folder exists only after a first change; it moves
/// to the trash and back with its project, and copies of the project do not contain it.
///
/// Blocking calls for any thread. The caller holds the lock on the project's folder.
namespace orvo::DocumentSteps {

/// In the project's folder. Contains NUMBER.json for each version of the document except the current one, and `present`:
/// "NUMBER SHA-256" of the document that the last step wrote.
inline constexpr std::string_view folderName = "steps";
inline constexpr std::size_t maxSteps = 50;
inline constexpr std::uintmax_t maxBytes = 64'000'000; ///< Of all versions; the oldest are removed first.

/// Saves `after`, an edit of the stored document `before`, and keeps `before` as an undo step. Discards the redo steps. A
/// change without a visible effect, or only to the publication, is saved without a step.
///
/// Throws as `ProjectStore::save` and then changes nothing. If the step cannot be stored, saves anyway and discards the
/// history.
void save(const ProjectStore& store, const VideoProject& before, const VideoProject& after);

struct Moved {
    VideoProject project; ///< As saved.
    std::string step; ///< The name of the undone or redone change: see `EditNames`.
    std::size_t undoable = 0; ///< Number of steps that can be undone now.
    std::size_t redoable = 0; ///< Number of steps that can be redone now.
};

/// Goes one version back or forward and saves it. Keeps the current publication, which describes what is on the server.
///
/// Throws `captureError` when there is no such step or another program has written the document, and as
/// `ProjectStore::load` and `save`. Then nothing has changed.
Moved undo(const ProjectStore& store, const Uuid& id);
Moved redo(const ProjectStore& store, const Uuid& id);

} // namespace orvo::DocumentSteps
