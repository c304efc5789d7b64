#pragma once

#include <string>

namespace CLI {
class App;
}

/// What is written about the commands from their declarations.
namespace orvo::cli {

/// The manual page of all commands, as roff.
std::string manualPage(const CLI::App& app);

/// All commands with their arguments and options, as Markdown: the end of docs/orden-orvo.md.
std::string referencePage(const CLI::App& app);

} // namespace orvo::cli
