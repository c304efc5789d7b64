#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ProcessRunner.h"

#include <stop_token>
#include <string>

namespace orvo {

/// Copies a project of the library, with its files and its edit, to a new project called `title`; an empty title means the
/// original's with "(copia)". The copy is not published: the published video belongs to the original.
///
/// Blocks; `progress` receives the copied fraction. The caller holds a lock on the original, so that no other program
/// changes it. Throws `captureError` for a recording that has not ended, file system errors unchanged, and `Cancelled`; then
/// nothing of the copy remains.
VideoProject copyProject(const ProjectStore& store, const VideoProject& original, const std::string& title,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace orvo
