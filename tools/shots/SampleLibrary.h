#pragma once

#include "VideoCore/ProjectStore.h"

/// Projects that look as a person's do.
namespace orvo::shots {

/// A lesson of 40 seconds with words, cuts, zooms and a text, and three other projects, one of them interrupted. Returns the
/// lesson. Throws when the media cannot be made.
VideoProject fillLibrary(const ProjectStore& store);

} // namespace orvo::shots
