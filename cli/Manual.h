#pragma once

#include <string>

namespace CLI {
class App;
}

/// Documents generated from the declarations of the commands.
namespace orvo::cli {

/// The manual page of all commands, as roff.
std::string manualPage(const CLI::App& app);

/// All commands with their arguments and options, as Markdown: the last part of docs/orden-orvo.md.
std::string referencePage(const CLI::App& app);

} // namespace orvo::cli
