#pragma once

#include "VideoCore/ProjectChange.h"

#include <string>

/// Names of edits, for the author.
namespace orvo::EditNames {

/// Names the change from one version of a project to the next in Spanish, in lower case and with a verb first: "cortar 3
/// palabras". Depends only on the two versions, so that every edit has a name, whichever function made it. Returns an empty
/// text when the versions differ in nothing but dates, and "varios cambios" for changes of several kinds.
std::string nameOf(const ProjectChange& change);

} // namespace orvo::EditNames
