#include "VideoCore/CaptureSession.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/MovieImport.h"
#include "VideoMedia/RecordingPreparation.h"
#include "VideoMedia/VideoEncoder.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/Destination.h"
#include "cli/Failures.h"
#include "cli/LongWork.h"
#include "cli/ProjectLock.h"
#include "cli/RenderOptions.h"
#include "cli/TextColumns.h"
#include "cli/Wording.h"

#include <chrono>
#include <format>
#include <optional>
#include <ranges>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

/// A new project's folder, gone again when the import that made it fails.
class NewFolder {
public:
    explicit NewFolder(fs::path folder)
        : m_folder(std::move(folder))
    {
    }
    ~NewFolder()
    {
        std::error_code ignored;
        if (!m_kept)
            fs::remove_all(m_folder, ignored);
    }
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    void keep() { m_kept = true; }

private:
    fs::path m_folder;
    bool m_kept = false;
};

struct ImportArguments {
    std::string file;
    std::string append;
};

VideoProject importAsNew(Session& session, const fs::path& movie)
{
    const auto& store = session.library().store();
    auto project = VideoProject::make(validUtf8(movie.stem().string()));
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
    target = library.load(reference); // It took a while: what was edited meanwhile stays.
    Library::requireEditable(target);
    MovieImport::append(target, copied);
    target.updatedAt = now();
    library.store().save(target);
    return target;
}

/// Throws `captureError` for a file that is no movie, before any of it is copied. A project takes its size from its first
/// track; later ones may have sound only.
void requireMovie(const fs::path& file, bool isFirstTrack)
{
    if (!fs::is_regular_file(file))
        throw fs::filesystem_error("import", file,
            std::make_error_code(fs::is_directory(file) ? std::errc::is_a_directory
                    : fs::exists(file)                  ? std::errc::invalid_argument
                                                        : std::errc::no_such_file_or_directory));
    if (!isUtf8(file.extension().string()))
        throw captureError(std::format("El nombre {} no es UTF-8 válido.", inQuotes(file.filename().string())));
    const auto facts = FfprobeMediaProbe().facts(file);
    if (!facts.duration || !(*facts.duration > 0))
        throw captureError("El archivo no contiene una duración válida.");
    if (!facts.video && (isFirstTrack || facts.audioStreams == 0))
        throw captureError(std::format("{} no contiene vídeo.", inQuotes(file.filename().string())));
}

void importMovie(Session& session, const ImportArguments& arguments)
{
    if (arguments.file.empty())
        throw UsageError("Indica el archivo de vídeo.");
    const fs::path movie = arguments.file;
    const bool append = !arguments.append.empty();
    requireMovie(movie, !append || session.library().load(arguments.append).tracks.empty());
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
    RecordingPreparation::Prepared prepared;
    try {
        prepared = runInterruptibly("Recuperando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
            return RecordingPreparation::prepare(
                project, store, FfprobeMediaProbe(), RecordingPreparation::Which::all, progress, stop);
        });
        project = library.load(arguments.project); // It took a while: what was edited meanwhile stays.
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        project = library.load(arguments.project);
        project.state = ProjectState::needsRecovery;
        store.save(project);
        throw captureError(RecordingPreparation::failureText(error));
    }
    RecordingPreparation::apply(project, prepared);
    if (arguments.withoutLost)
        RecordingPreparation::dropLost(project, prepared.lost);
    project.updatedAt = now();
    store.save(project);
    if (!prepared.lost.empty() && !arguments.withoutLost) {
        throw captureError(std::format("{}\nLo demás está recuperado. Para seguir sin eso: orvo recover {} --without-lost",
            RecordingPreparation::failureText(captureError(prepared.lostText())), arguments.project));
    }
    CaptureSession::unmark(folder);
    if (!prepared.lost.empty())
        session.note(prepared.lostText());
    if (prepared.hardwareFailed)
        session.note(std::string(hardwareFailureText));
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"state", project.state}, {"duration", project.duration},
            {"lost", prepared.lost | std::views::keys | std::ranges::to<JsonValue::Array>()}});
    session.print(std::format("Recuperado {}: {}.\n", inQuotes(shownTitle(project.title)), fineLength(project.duration)));
}

struct ExportArguments {
    std::string project;
    std::string file;
    std::string height;
    std::string fps;
    std::string quality;
    std::string subtitles;
    bool burnIn = false;
};

ExportSettings settingsOf(const ExportArguments& arguments)
{
    ExportSettings settings = renderSettings(arguments.height, arguments.quality);
    settings.subtitles = subtitleCues("--subtitles", arguments.subtitles);
    settings.burnIn = arguments.burnIn;
    if (settings.burnIn && settings.subtitles == SubtitleCues::none)
        throw UsageError("--burn-in necesita subtítulos: escribe --subtitles words o --subtitles phrases.");
    if (!arguments.fps.empty())
        settings.fps = integerArgument("--fps", arguments.fps, {1, 240});
    return settings;
}

void exportProject(Session& session, const ExportArguments& arguments)
{
    const ExportSettings settings = settingsOf(arguments);
    Library& library = session.library();
    const VideoProject project = library.load(arguments.project);
    if (CaptureSession::isMarkedRecording(project))
        throw captureError("Termina esta grabación antes de exportarla.");
    const fs::path file = destination(arguments.file, library.store());

    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto outcome = runInterruptibly("Exportando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return ExportService::exportVideo(project, library.store(), file, settings, FfprobeMediaProbe(), progress, stop);
    });
    if (const auto remarks = outcome.remarks(); !remarks.empty())
        session.note(remarks);
    const fs::path subtitles = ExportService::subtitleFile(file);
    const auto size = fs::file_size(file);
    const bool hasSubtitles = settings.subtitles != SubtitleCues::none;
    if (session.json()) {
        JsonValue::Object answer{{"id", project.id}, {"file", file.string()}};
        if (hasSubtitles)
            answer.emplace_back("subtitles", subtitles.string());
        answer.emplace_back("duration", project.playableDuration());
        answer.emplace_back("size", size);
        return session.answer(answer);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::string text = std::format("Vídeo: {} ({}, {}, en {})\n", printable(file.string()),
        fineLength(project.playableDuration()), fileSize(size), clockTime(seconds));
    if (hasSubtitles)
        text += std::format("Subtítulos: {}\n", printable(subtitles.string()));
    session.print(text);
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

void addExportCommand(CLI::App& app, Session& session)
{
    addCommand<ExportArguments>(
        app, session,
        {"export", "Resultado", "Exporta el vídeo editado a MP4.\nDeja al lado los subtítulos en un archivo .srt."},
        [](Command& command, ExportArguments& arguments) {
            command.project(arguments.project);
            command.argument("ARCHIVO", arguments.file, "El archivo .mp4; si existe, se reemplaza.");
            addRenderOptions(command, arguments.height, arguments.quality);
            command.option("--fps", "N", arguments.fps, "Fotogramas por segundo; 30 si no se indica.");
            command.option("--subtitles", "CLASE", arguments.subtitles,
                "words (palabra a palabra), phrases (frases) o none (ninguno); words si no se indica.");
            command.flag("--burn-in", arguments.burnIn, "Muestra los subtítulos también en la imagen.");
        },
        exportProject);
}

} // namespace orvo::cli
