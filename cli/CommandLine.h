#pragma once

#include "cli/Failures.h"

#include <string>
#include <vector>

namespace orvo::cli {

/// Runs what a command line asks for and returns how it ended. `words` are its arguments without the program's name.
///
/// The answer goes to standard output; a failure is told on standard error, as one text in Spanish after "orvo: ".
ExitStatus runCommandLine(std::vector<std::string> words);

} // namespace orvo::cli
