#include "Platform/trash/Trash.h"
#include "VideoCore/CaptureSession.h"
#include "VideoMedia/CopyFile.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/Destination.h"
#include "cli/Failures.h"
#include "cli/LongWork.h"
#include "cli/NewFolder.h"
#include "cli/ProjectLock.h"
#include "cli/TextColumns.h"
#include "cli/Wording.h"

#include <algorithm>
#include <format>
#include <ranges>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

struct DeleteArguments {
    std::vector<std::string> projects;
    bool force = false;
};

/// The projects of the references, each once. Throws if one of them must not be deleted; then none is.
std::vector<VideoProject> deletable(Library& library, const DeleteArguments& arguments)
{
    std::vector<VideoProject> found;
    for (const std::string& reference : arguments.projects) {
        VideoProject project = library.load(reference);
        const fs::path folder = library.store().directory(project.id);
        if (CaptureSession::isMarkedRecording(project)
            && CaptureSession::isAlive(CaptureSession::recordingProcess(folder), true))
            throw captureError(std::format("{} se está grabando: termina antes la grabación.", inQuotes(project.title)));
        if (!std::ranges::contains(found, project.id, &VideoProject::id))
            found.push_back(std::move(project));
    }
    for (const VideoProject& project : found) {
        const bool isPublished = project.publication.has_value();
        if (arguments.force || (!isPublished && project.state == ProjectState::ready))
            continue;
        const auto what = isPublished
            ? std::format("{} está publicado; su vídeo seguirá en el servidor (lo retira «orvo "
                          "unpublish»).",
                  inQuotes(shownTitle(project.title)))
            : std::format("{} es una grabación sin preparar.", inQuotes(shownTitle(project.title)));
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
        const fs::path folder = library.store().directory(project.id);
        {
            const ProjectLock lock(folder);
            moveToTrash(folder);
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

/// Copies the media folder of a project, including subfolders.
void copyMedia(const fs::path& from, const fs::path& to, const ProgressCallback& progress, const std::stop_token& stop)
{
    std::vector<fs::path> files;
    std::uintmax_t all = 0;
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        if (!entry.is_regular_file())
            continue;
        files.push_back(entry.path().lexically_relative(from));
        all += entry.file_size();
    }
    std::uintmax_t done = 0;
    for (const fs::path& file : files) {
        fs::create_directories((to / file).parent_path());
        const auto size = fs::file_size(from / file);
        copyFile(
            from / file, to / file,
            [&](double fraction) {
                progress((static_cast<double>(done) + fraction * static_cast<double>(size)) / static_cast<double>(all));
            },
            stop);
        done += size;
    }
}

void duplicate(Session& session, const DuplicateArguments& arguments)
{
    Library& library = session.library();
    const auto& store = library.store();
    const ProjectLock lock(store.directory(library.find(arguments.project)));
    const VideoProject original = library.load(arguments.project);
    Library::requireEditable(original);
    VideoProject copy = original;
    copy.id = Uuid::random();
    copy.title = arguments.title.empty() ? original.title + " (copia)" : textArgument("--title", arguments.title);
    copy.publication.reset(); // The publication stays with the original.
    copy.createdAt = copy.updatedAt = now();

    NewFolder folder(store.directory(copy.id));
    runInterruptibly("Duplicando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        copyMedia(store.directory(original.id) / ProjectStore::mediaName, store.directory(copy.id) / ProjectStore::mediaName,
            progress, stop);
        store.create(copy); // Last: a folder without a document is not a project.
        return true;
    });
    folder.keep();
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
