#pragma once

#include "cli/Library.h"

#include <span>
#include <string>

namespace CLI {
class App;
}

namespace orvo::cli {

/// Completes the last of `words`, the words of a command line after the program's name. Prints one candidate per line,
/// followed by a tab and its meaning if it has one. The line ":files" or ":folders" leaves the rest to the shell. Omits
/// candidates that do not start with the word; lists the projects of `library`.
///
/// Reads the declarations of the commands. Never fails: without a library there are no projects.
std::string completions(const CLI::App& app, Library& library, std::span<const std::string> words);

} // namespace orvo::cli
