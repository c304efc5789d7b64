#pragma once

#include "cli/ExitStatus.h"

#include <string>
#include <vector>

namespace orvo::cli {

/// Runs a command line and returns the exit status. `words` are its arguments without the name of the program.
///
/// Writes results to standard output. Reports failures on standard error, as one text in Spanish after "orvo: ".
ExitStatus runCommandLine(std::vector<std::string> words);

} // namespace orvo::cli
