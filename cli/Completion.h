#pragma once

#include "cli/Library.h"

#include <span>
#include <string>

namespace CLI {
class App;
}

namespace orvo::cli {

/// What may stand in the place of the last of `words`, the words of a command line behind the program's name: one candidate
/// a line, each with a tab and what it means behind it where there is something to say. The line ":files" or ":folders"
/// leaves the rest to the shell. Candidates that do not begin as the word does are left out; projects come from `library`.
///
/// Everything is read from the declarations of the commands. Never fails: without a library there are no projects.
std::string completions(const CLI::App& app, Library& library, std::span<const std::string> words);

} // namespace orvo::cli
