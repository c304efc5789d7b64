#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/TextColumns.h"
#include "cli/Wording.h"

#include <cstdlib>
#include <fcntl.h>
#include <format>
#include <spawn.h>
#include <system_error>
#include <unistd.h>

namespace orvo::cli {

namespace {

struct OpenArguments {
    std::string project;
};

/// Starts a program that outlives this one, detached from the terminal.
void startDetached(const std::filesystem::path& program, const std::string& argument)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);

    std::string name = program.string();
    std::string copy = argument;
    char* const arguments[] = {name.data(), copy.data(), nullptr};
    pid_t child = 0;
    const int failure = ::posix_spawn(&child, program.c_str(), &files, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (failure != 0)
        throw captureError(
            "No se puede abrir la aplicación: " + describe(std::system_error(failure, std::system_category())));
}

bool hasDisplay()
{
    const auto isSet = [](const char* variable) {
        const char* value = std::getenv(variable);
        return value && *value;
    };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

void open(Session& session, const OpenArguments& arguments)
{
    const VideoProject project = session.library().load(arguments.project);
    if (!hasDisplay())
        throw captureError("No hay ninguna pantalla en la que abrir Orvo Video.");
    // The application reads the same variable and opens the library of the project.
    ::setenv("ORVO_LIBRARY", session.library().store().root().c_str(), 1);
    startDetached(ProcessRunner::bundlePath() / "Contents" / "MacOS" / "OrvoVideo", project.id.text());
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"title", project.title}});
    session.print(std::format("Abriendo {} en Orvo Video.\n", inQuotes(shownTitle(project.title))));
}

} // namespace

void addOpenCommand(CLI::App& app, Session& session)
{
    addCommand<OpenArguments>(
        app, session, {"open", "Biblioteca", "Abre un proyecto en la aplicación.\nSi ya está abierta, la trae al frente."},
        [](Command& command, OpenArguments& arguments) { command.project(arguments.project); }, open);
}

} // namespace orvo::cli
