#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ProcessRunner.h"

#include <stop_token>
#include <string>

namespace orvo {

/// Copies a project of the library with its files and its edit into a new one of that title; without a title it is the
/// original's with "(copia)". The copy is not published, since the published video stays the original's.
///
/// Blocks; `progress` receives the copied fraction. Two programs that change the original take turns by a lock that the
/// caller holds. Throws `captureError` for a recording that has not ended, file system errors unchanged, and `Cancelled`;
/// nothing of the copy stays then.
VideoProject copyProject(const ProjectStore& store, const VideoProject& original, const std::string& title,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace orvo
