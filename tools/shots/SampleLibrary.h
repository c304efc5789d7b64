#pragma once

#include "VideoCore/ProjectStore.h"

/// Realistic sample projects.
namespace orvo::shots {

/// Adds a lesson of 40 seconds with words, cuts, zooms and a text, and three other projects, one of them interrupted.
/// Returns the lesson. Throws when the media cannot be created.
VideoProject fillLibrary(const ProjectStore& store);

} // namespace orvo::shots
