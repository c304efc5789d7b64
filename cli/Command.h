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

/// One command as it is declared. All values are texts: what they mean is read, and refused in Spanish, by the command
/// itself. They are written before the command runs, to places that must live as long as the application.
class Command {
public:
    /// How a command presents itself. Of the description only the first line is shown in lists.
    struct Heading {
        std::string name;
        std::string group;
        std::string description;
    };

    Command(CLI::App& application, const Heading& heading);

    /// The project that most commands begin with.
    void project(std::string& reference);

    void argument(const std::string& name, std::string& value, const std::string& description);
    void optionalArgument(const std::string& name, std::string& value, const std::string& description);
    void arguments(const std::string& name, std::vector<std::string>& values, const std::string& description);

    /// `value` is how its value is called.
    void option(const std::string& name, const std::string& value, std::string& target, const std::string& description);
    /// An option that may be given several times.
    void options(
        const std::string& name, const std::string& value, std::vector<std::string>& target, const std::string& description);
    void flag(const std::string& name, bool& target, const std::string& description);

    /// A text below the help of the command, already broken into lines.
    void notes(const std::string& text);

    void onRun(std::function<void()> run);

private:
    CLI::App& m_command;
};

/// Adds one command: `define(command, arguments)` declares its arguments, `run(session, arguments)` does the work.
template <typename Arguments, typename Define, typename Run>
void addCommand(CLI::App& application, Session& session, const Command::Heading& heading, Define define, Run run)
{
    Command command(application, heading);
    const auto arguments = std::make_shared<Arguments>();
    define(command, *arguments);
    command.onRun([arguments, run, &session] { run(session, *arguments); });
}

} // namespace orvo::cli
