#pragma once

#include "cli/Session.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orvo::cli {

/// The declaration of one command. All values are texts; the command parses them and reports errors in Spanish. They
/// are stored before the command runs, in objects that must live as long as the application.
class Command {
public:
    /// The description of a command; lists show only its first line.
    struct Heading {
        std::string name;
        std::string group;
        std::string description;
    };

    Command(CLI::App& application, const Heading& heading);

    /// Adds the project argument, the first one of most commands.
    void project(std::string& reference);

    void argument(const std::string& name, std::string& value, const std::string& description);
    void optionalArgument(const std::string& name, std::string& value, const std::string& description);
    void arguments(const std::string& name, std::vector<std::string>& values, const std::string& description);

    /// `value` names the value in the help.
    void option(const std::string& name, const std::string& value, std::string& target, const std::string& description);
    /// Adds an option that may be repeated.
    void options(
        const std::string& name, const std::string& value, std::vector<std::string>& target, const std::string& description);
    void flag(const std::string& name, bool& target, const std::string& description);

    /// Text below the help of the command, already wrapped.
    void notes(const std::string& text);

    void onRun(std::function<void()> run);

private:
    CLI::App& m_command;
};

/// Adds one command: `define(command, arguments)` declares its arguments, `run(session, arguments)` executes it.
template <typename Arguments, typename Define, typename Run>
void addCommand(CLI::App& application, Session& session, const Command::Heading& heading, Define define, Run run)
{
    Command command(application, heading);
    const auto arguments = std::make_shared<Arguments>();
    define(command, *arguments);
    command.onRun([arguments, run, &session] { run(session, *arguments); });
}

} // namespace orvo::cli
