#include "VideoCore/FileIO.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/OverlayImage.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/VideoLimits.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/ProgressBar.h"
#include "cli/ShownValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <ranges>
#include <set>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

using Terminal::Tone;

struct ValidateArguments {
    std::vector<std::string> projects;
    bool quick = false;
};

/// The problems of one project: errors that keep it from being used, and warnings.
struct Verdict {
    std::string folder;
    std::string title;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

/// Checks one project folder of the library.
class Examination {
public:
    Examination(const ProjectStore& store, const std::string& folder, bool quick)
        : m_store(store)
        , m_quick(quick)
    {
        m_verdict.folder = folder;
    }

    Verdict run()
    {
        const auto id = Uuid::parse(m_verdict.folder);
        if (id->text() != m_verdict.folder) {
            error("El nombre de la carpeta debe estar en mayúsculas.");
            return m_verdict;
        }
        VideoProject project;
        try {
            project = m_store.load(*id);
        } catch (const std::exception& failure) {
            error(std::format("No se puede leer el documento: {}", describe(failure)));
            return m_verdict;
        }
        m_verdict.title = project.title;
        if (project.id != *id)
            error(std::format("El documento es de otro proyecto ({}).", project.id.text()));
        checkNumbers(project);
        checkIdentifiers(project);
        for (const MediaTrack& track : project.tracks)
            checkTrack(project, track);
        for (const Overlay& overlay : project.edit.overlays) {
            if (overlay.kind == Overlay::Kind::image)
                checkImage(project, overlay);
        }
        checkLeftovers(m_store.directory(*id));
        return m_verdict;
    }

private:
    void error(std::string text) { m_verdict.errors.push_back(std::move(text)); }
    void warn(std::string text) { m_verdict.warnings.push_back(std::move(text)); }

    void checkNumbers(const VideoProject& project)
    {
        if (project.width < 1 || project.height < 1 || project.width > VideoLimits::maxSide
            || project.height > VideoLimits::maxSide)
            error(std::format("El tamaño {}×{} no es válido.", project.width, project.height));
        if (!VideoLimits::isRate(project.fps))
            error(std::format("La frecuencia de {} fotogramas por segundo no es válida.", project.fps));
        if (project.duration < 0)
            error(std::format("La duración {} no es válida.", shortNumber(project.duration)));
        double latest = 0;
        for (const MediaTrack& track : project.tracks)
            latest = std::max(latest, track.start + track.duration);
        constexpr double tolerance = 1;
        if (!project.tracks.empty() && std::abs(latest - project.duration) > tolerance)
            warn(std::format(
                "El proyecto dura {} y sus pistas llegan a {}.", exactTime(project.duration), exactTime(latest)));
    }

    void checkIdentifiers(const VideoProject& project)
    {
        std::set<Uuid> seen;
        std::size_t repeated = 0;
        const auto look = [&](const auto& list) {
            for (const auto& item : list)
                repeated += seen.insert(item.id).second ? 0U : 1U;
        };
        look(project.tracks);
        look(project.edit.overlays);
        look(project.edit.words);
        look(project.edit.events);
        if (repeated > 0)
            warn(std::format("Hay {} identificadores repetidos.", repeated));
    }

    /// The path of a project file; reports an error and returns nullopt if it does not exist.
    std::optional<fs::path> present(const VideoProject& project, const std::string& file)
    {
        try {
            fs::path place = m_store.mediaURL(project, file);
            if (fs::is_regular_file(place))
                return place;
            error(std::format("Falta {}.", inQuotes(file)));
        } catch (const std::exception&) {
            error(std::format("{} queda fuera de la carpeta del proyecto.", inQuotes(file)));
        }
        return std::nullopt;
    }

    std::optional<MediaFacts> facts(const fs::path& place)
    {
        try {
            return FfprobeMediaProbe().facts(place);
        } catch (const std::exception& failure) {
            error(describe(failure));
            return std::nullopt;
        }
    }

    void checkTrack(const VideoProject& project, const MediaTrack& track)
    {
        const auto place = present(project, track.file);
        const auto known = place && !m_quick ? facts(*place) : std::nullopt;
        if (!known)
            return;
        const bool frame =
            track.kind == TrackKind::screen || track.kind == TrackKind::clip || track.kind == TrackKind::camera;
        const bool audioOnly = track.kind == TrackKind::clip && known->audioStreams > 0;
        if (frame && !known->video && !audioOnly)
            error(std::format("{} no contiene vídeo.", inQuotes(track.file)));
        if (!frame && known->audioStreams == 0)
            error(std::format("{} no contiene sonido.", inQuotes(track.file)));
        constexpr double tolerance = 0.5;
        if (known->duration && std::abs(*known->duration - track.duration) > tolerance) {
            warn(std::format(
                "{} dura {} y su pista {}.", inQuotes(track.file), exactTime(*known->duration), exactTime(track.duration)));
        }
    }

    void checkImage(const VideoProject& project, const Overlay& overlay)
    {
        const auto place = present(project, overlay.content);
        try {
            if (place && !m_quick && !OverlayImage::isUsable(*place))
                error(std::format("{} no es una imagen que se pueda mostrar.", inQuotes(overlay.content)));
        } catch (const std::system_error& failure) {
            error(describe(failure)); // ffmpeg cannot be started.
        }
    }

    /// Warns about leftovers of killed operations.
    void checkLeftovers(const fs::path& folder)
    {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with("render-") || name.starts_with("package-")
                || (name.starts_with('.') && name.ends_with(".tmp")))
                warn(std::format("{} sobra: es de una operación interrumpida, o de una en curso.", inQuotes(name)));
        }
    }

    const ProjectStore& m_store;
    bool m_quick;
    Verdict m_verdict;
};

/// The folders to check: those of the requested projects, or all in the library with the name of a project.
std::vector<std::string> foldersOf(Session& session, const ValidateArguments& arguments)
{
    std::vector<std::string> folders;
    folders.reserve(arguments.projects.size());
    for (const std::string& reference : arguments.projects)
        folders.push_back(session.library().find(reference).text());
    if (!folders.empty())
        return folders;
    session.library().requireExisting();
    for (const auto& entry : fs::directory_iterator(session.library().store().root())) {
        const std::string name = entry.path().filename().string();
        if (Uuid::parse(name))
            folders.push_back(name);
    }
    std::ranges::sort(folders);
    return folders;
}

JsonValue toJson(const Verdict& verdict)
{
    const auto texts = [](const std::vector<std::string>& list) { return JsonValue::Array(list.begin(), list.end()); };
    return JsonValue::Object{{"folder", verdict.folder}, {"title", verdict.title}, {"valid", verdict.errors.empty()},
        {"errors", texts(verdict.errors)}, {"warnings", texts(verdict.warnings)}};
}

std::string toText(const Verdict& verdict)
{
    const bool good = verdict.errors.empty();
    std::string text =
        (good ? Terminal::toned(Tone::good, "bien") : Terminal::toned(Tone::bad, "mal ")) + "  " + verdict.folder;
    if (!verdict.title.empty())
        text += "  " + printable(verdict.title);
    text += '\n';
    for (const std::string& problem : verdict.errors)
        text += "      " + printable(problem) + "\n";
    for (const std::string& oddity : verdict.warnings)
        text += "      " + Terminal::toned(Tone::warning, "aviso:") + " " + printable(oddity) + "\n";
    return text;
}

void validate(Session& session, const ValidateArguments& arguments)
{
    if (!arguments.quick && !ProcessRunner::ffmpeg())
        throw captureError("FFmpeg no está instalado. Sin él solo se pueden comprobar los documentos (--quick).");
    const auto folders = foldersOf(session, arguments);
    std::vector<Verdict> verdicts;
    {
        ProgressBar bar("Comprobando");
        for (const std::string& folder : folders) {
            verdicts.push_back(Examination(session.library().store(), folder, arguments.quick).run());
            bar.report(static_cast<double>(verdicts.size()) / static_cast<double>(folders.size()));
        }
    }
    const auto bad = std::ranges::count_if(verdicts, [](const Verdict& verdict) { return !verdict.errors.empty(); });
    if (session.json()) {
        session.answer(JsonValue::Object{{"valid", bad == 0},
            {"projects", verdicts | std::views::transform(toJson) | std::ranges::to<JsonValue::Array>()}});
    } else {
        std::string text;
        for (const Verdict& verdict : verdicts)
            text += toText(verdict);
        session.print(text);
    }
    if (bad > 0)
        throw captureError(std::format("{} de {} proyectos tienen errores.", bad, verdicts.size()));
}

} // namespace

void addValidateCommand(CLI::App& app, Session& session)
{
    addCommand<ValidateArguments>(
        app, session,
        {"validate", "Biblioteca",
            "Comprueba proyectos: documento, archivos y medios.\nSin ID, toda la biblioteca. El estado de salida es 1 si "
            "alguno "
            "tiene errores."},
        [](Command& command, ValidateArguments& arguments) {
            command.arguments("ID", arguments.projects, "Proyectos: su identificador o el comienzo de este.");
            command.flag("--quick", arguments.quick, "No abre los archivos de vídeo y sonido.");
        },
        validate);
}

} // namespace orvo::cli
