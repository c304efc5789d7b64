#include "VideoCore/DetachedProgram.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <cstdlib>
#include <format>
#include <system_error>

namespace orvo::cli {

namespace {

struct OpenArguments {
    std::string project;
};

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
    try {
        startDetached(ProcessRunner::bundlePath() / "Contents" / "MacOS" / "OrvoVideo", {project.id.text()});
    } catch (const std::system_error& error) {
        throw captureError("No se puede abrir la aplicación: " + describe(error));
    }
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
