#pragma once

#include "VideoCore/ProjectChange.h"

#include <string>

/// What an edit has done, in words for the author.
namespace orvo::EditNames {

/// Names the change from one version of a project to the next in Spanish, in lower case and with a verb first: "cortar 3
/// palabras". It depends on the two versions alone, so that every edit has a name, whoever made it. Empty when they show the
/// same (dates do not count); "varios cambios" for changes of several kinds.
std::string nameOf(const ProjectChange& change);

} // namespace orvo::EditNames
