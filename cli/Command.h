#pragma once

#include "cli/Session.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace orvo::cli {

/// Adds one command. `define(command, arguments)` declares its arguments, all of them as texts: what they mean is read, and
/// refused in Spanish, by the command itself. `run(session, arguments)` does the work.
template <typename Arguments, typename Define, typename Run>
void addCommand(
    CLI::App& app, Session& session, const std::string& name, const std::string& description, Define define, Run run)
{
    CLI::App* command = app.add_subcommand(name, description);
    const auto arguments = std::make_shared<Arguments>();
    define(*command, *arguments);
    command->callback([arguments, run, &session] { run(session, *arguments); });
}

/// Declares the project that most commands begin with.
inline void addProject(CLI::App& command, std::string& reference)
{
    command.add_option("ID", reference, "Proyecto: su identificador o el comienzo de este, desde 4 caracteres.")->required();
}

} // namespace orvo::cli
