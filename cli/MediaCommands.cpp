#include "OrvoVideo/library/RecordingRecovery.h"
#include "VideoCore/CaptureSession.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/MovieImport.h"
#include "VideoMedia/VideoEncoder.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/NewFolder.h"
#include "cli/ProjectLock.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <format>
#include <optional>
#include <ranges>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

struct ImportArguments {
    std::string file;
    std::string append;
};

VideoProject importAsNew(Session& session, const fs::path& movie)
{
    const auto& store = session.library().store();
    auto project = MovieImport::newProject(movie);
    NewFolder folder(store.directory(project.id));
    project = runInterruptibly("Importando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return MovieImport::importMovie(store, movie, std::move(project), FfprobeMediaProbe(), progress, stop);
    });
    folder.keep();
    return project;
}

VideoProject importInto(Session& session, const std::string& reference, const fs::path& movie)
{
    Library& library = session.library();
    const ProjectLock lock(library.store().directory(library.find(reference)));
    VideoProject target = library.load(reference);
    Library::requireEditable(target);
    const auto copied = runInterruptibly("Importando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return MovieImport::copyMovie(library.store(), movie, target, FfprobeMediaProbe(), progress, stop);
    });
    const VideoProject before = library.load(reference); // Keeps edits that were made meanwhile.
    Library::requireEditable(before);
    target = before;
    MovieImport::append(target, copied);
    library.saveStep(before, target);
    return target;
}

void importMovie(Session& session, const ImportArguments& arguments)
{
    if (arguments.file.empty())
        throw UsageError("Indica el archivo de vídeo.");
    const fs::path movie = arguments.file;
    const bool append = !arguments.append.empty();
    const VideoProject project = append ? importInto(session, arguments.append, movie) : importAsNew(session, movie);
    if (session.json()) {
        return session.answer(
            JsonValue::Object{{"id", project.id}, {"title", project.title}, {"duration", project.duration}});
    }
    session.print(append ? std::format("Añadido {} a {}, que ahora dura {}.\n", inQuotes(movie.filename().string()),
                               inQuotes(shownTitle(project.title)), fineLength(project.duration))
                         : std::format("Importado {}: {}, {}×{}.\nIdentificador: {}\n", inQuotes(shownTitle(project.title)),
                               fineLength(project.duration), project.width, project.height, project.id.text()));
}

struct RecoverArguments {
    std::string project;
    bool withoutLost = false;
};

void recover(Session& session, const RecoverArguments& arguments)
{
    Library& library = session.library();
    const auto& store = library.store();
    const fs::path folder = store.directory(library.find(arguments.project));
    const ProjectLock lock(folder);
    VideoProject project = library.load(arguments.project);
    if (CaptureSession::isMarkedRecording(project)
        && CaptureSession::isAlive(CaptureSession::recordingProcess(folder), true))
        throw captureError("Termina esta grabación antes de recuperarla.");
    const auto lostTracks = arguments.withoutLost ? LostTracks::dropped : LostTracks::kept;
    const auto recovered =
        runInterruptibly("Recuperando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
            return recoverRecording(
                project, store, FfprobeMediaProbe(), RecordingPreparation::Which::all, lostTracks, progress, stop);
        });
    project = library.load(arguments.project); // Keeps edits that were made meanwhile.
    recovered.apply(project);
    if (recovered.isPrepared)
        project.updatedAt = now();
    store.save(project);
    if (recovered.isPrepared && !recovered.failure.empty()) {
        throw captureError(std::format("{}\nLo demás está recuperado. Para seguir sin eso: orvo recover {} --without-lost",
            recovered.failure, arguments.project));
    }
    recovered.finish(folder);
    const auto& prepared = recovered.prepared;
    if (!prepared.lost.empty())
        session.note(prepared.lostText());
    if (prepared.hardwareFailed)
        session.note(hardwareFailureText);
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"state", project.state}, {"duration", project.duration},
            {"lost", prepared.lost | std::views::keys | std::ranges::to<JsonValue::Array>()}});
    session.print(std::format("Recuperado {}: {}.\n", inQuotes(shownTitle(project.title)), fineLength(project.duration)));
}

} // namespace

void addImportCommand(CLI::App& app, Session& session)
{
    addCommand<ImportArguments>(
        app, session,
        {"import", "Biblioteca",
            "Importa un vídeo.\nCrea un proyecto con el nombre del archivo, o lo añade al final de uno."},
        [](Command& command, ImportArguments& arguments) {
            command.argument("ARCHIVO", arguments.file, "El vídeo. Se copia a la biblioteca.");
            command.option("--append", "ID", arguments.append, "Lo añade al final de este proyecto.");
        },
        importMovie);
}

void addRecoverCommand(CLI::App& app, Session& session)
{
    addCommand<RecoverArguments>(
        app, session,
        {"recover", "Biblioteca",
            "Recupera una grabación interrumpida.\nPrepara de nuevo sus archivos; los originales se conservan."},
        [](Command& command, RecoverArguments& arguments) {
            command.project(arguments.project);
            command.flag(
                "--without-lost", arguments.withoutLost, "Quita del proyecto las pistas que no se pueden recuperar.");
        },
        recover);
}

} // namespace orvo::cli
