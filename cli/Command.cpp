#include "cli/Command.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace orvo::cli {

Command::Command(CLI::App& application, const Heading& heading)
    : m_command(*application.add_subcommand(heading.name, heading.description))
{
    m_command.group(heading.group);
}

void Command::project(std::string& reference)
{
    argument("ID", reference, "Proyecto: su identificador o el comienzo de este, desde 4 caracteres.");
}

void Command::argument(const std::string& name, std::string& value, const std::string& description)
{
    m_command.add_option(name, value, description)->required();
}

void Command::optionalArgument(const std::string& name, std::string& value, const std::string& description)
{
    m_command.add_option(name, value, description);
}

void Command::arguments(const std::string& name, std::vector<std::string>& values, const std::string& description)
{
    m_command.add_option(name, values, description);
}

void Command::option(const std::string& name, const std::string& value, std::string& target, const std::string& description)
{
    m_command.add_option(name, target, description)->type_name(value);
}

void Command::options(
    const std::string& name, const std::string& value, std::vector<std::string>& target, const std::string& description)
{
    m_command.add_option(name, target, description)
        ->type_name(value)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void Command::flag(const std::string& name, bool& target, const std::string& description)
{
    m_command.add_flag(name, target, description)->disable_flag_override();
}

void Command::notes(const std::string& text)
{
    m_command.footer(text);
}

void Command::onRun(std::function<void()> run)
{
    m_command.callback(std::move(run));
}

} // namespace orvo::cli
