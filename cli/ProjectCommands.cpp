#include "OrvoVideo/library/ProjectCopy.h"
#include "OrvoVideo/library/ProjectRemoval.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Destination.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/ProjectLock.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <format>
#include <string>
#include <vector>

namespace orvo::cli {

namespace {

struct DeleteArguments {
    std::vector<std::string> projects;
    bool force = false;
};

/// The projects of the references, without duplicates. Throws if any of them must not be deleted.
std::vector<VideoProject> deletable(Library& library, const DeleteArguments& arguments)
{
    std::vector<VideoProject> found;
    for (const std::string& reference : arguments.projects) {
        VideoProject project = library.load(reference);
        if (const auto refusal = ProjectRemoval::refusal(project, library.store(), true))
            throw captureError(*refusal);
        if (!std::ranges::contains(found, project.id, &VideoProject::id))
            found.push_back(std::move(project));
    }
    for (const VideoProject& project : found) {
        const auto warning = arguments.force ? std::nullopt : ProjectRemoval::warning(project);
        if (!warning)
            continue;
        const std::string what = printable(*warning) + (project.publication ? " Lo retira «orvo unpublish»." : "");
        if (!agreed(what + " ¿Moverlo a la papelera?").value_or(false))
            throw captureError(what + " No se ha borrado nada. Con --force se borra sin preguntar.");
    }
    return found;
}

void deleteProjects(Session& session, const DeleteArguments& arguments)
{
    if (arguments.projects.empty())
        throw UsageError("Indica qué proyectos borrar.");
    Library& library = session.library();
    JsonValue::Array gone;
    for (const VideoProject& project : deletable(library, arguments)) {
        {
            const ProjectLock lock(library.store().directory(project.id));
            ProjectRemoval::moveToTrash(project.id, library.store());
        }
        gone.emplace_back(project.id);
        if (!session.json())
            session.print(std::format("En la papelera: {}.\n", inQuotes(shownTitle(project.title))));
    }
    if (session.json())
        session.answer(JsonValue::Object{{"deleted", gone}});
}

struct DuplicateArguments {
    std::string project;
    std::string title;
};

void duplicate(Session& session, const DuplicateArguments& arguments)
{
    Library& library = session.library();
    const auto& store = library.store();
    const ProjectLock lock(store.directory(library.find(arguments.project)));
    const VideoProject original = library.load(arguments.project);
    const std::string title = arguments.title.empty() ? "" : textArgument("--title", arguments.title);
    const VideoProject copy =
        runInterruptibly("Duplicando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
            return copyProject(store, original, title, progress, stop);
        });
    if (session.json())
        return session.answer(JsonValue::Object{{"id", copy.id}, {"title", copy.title}, {"duration", copy.duration}});
    session.print(std::format("Duplicado como {}.\nIdentificador: {}\n", inQuotes(shownTitle(copy.title)), copy.id.text()));
}

} // namespace

void addProjectCommands(CLI::App& app, Session& session)
{
    addCommand<DuplicateArguments>(
        app, session,
        {"duplicate", "Biblioteca", "Copia un proyecto con sus archivos y su edición.\nLa copia no está publicada."},
        [](Command& command, DuplicateArguments& arguments) {
            command.project(arguments.project);
            command.option(
                "--title", "TÍTULO", arguments.title, "Título de la copia; si no, el del original con «(copia)».");
        },
        duplicate);
    addCommand<DeleteArguments>(
        app, session,
        {"delete", "Biblioteca",
            "Mueve proyectos a la papelera del escritorio.\nDesde ella se pueden restaurar. "
            "Lo que está publicado sigue en el servidor."},
        [](Command& command, DeleteArguments& arguments) {
            command.arguments("ID", arguments.projects, "Los proyectos.");
            command.flag("--force", arguments.force, "Sin preguntar por lo que está publicado o sin preparar.");
        },
        deleteProjects);
}

} // namespace orvo::cli
