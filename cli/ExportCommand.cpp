#include "VideoCore/CaptureSession.h"
#include "VideoCore/Labels.h"
#include "VideoCore/UniqueFd.h"
#include "VideoMedia/ExportPresets.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/WorkFolder.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Destination.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/RenderOptions.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <format>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

struct ExportArguments {
    std::string project;
    std::string file;
    std::string height;
    std::string fps;
    std::string quality;
    std::string subtitles;
    std::string preset;
    std::string from;
    std::string to;
    bool burnIn = false;
    bool whole = false;
    bool force = false;
};

/// The span between "--from" and "--to"; nullopt without both options.
std::optional<TimeSpan> spanOf(const ExportArguments& arguments, const VideoProject& project)
{
    if (arguments.from.empty() && arguments.to.empty())
        return std::nullopt;
    const TimeSpan span{.start = arguments.from.empty() ? 0 : timeArgument("--from", arguments.from),
        .end = arguments.to.empty() ? project.duration : timeArgument("--to", arguments.to)};
    if (!(span.start < std::min(span.end, project.duration)))
        throw UsageError("Entre --from y --to no queda nada que exportar.");
    return span;
}

const ExportPreset* presetOf(const std::string& name)
{
    if (name.empty())
        return nullptr;
    if (const auto* preset = ExportPreset::find(name))
        return preset;
    const auto ids = ExportPreset::all() | std::views::transform(&ExportPreset::id) | std::ranges::to<std::vector>();
    throw UsageError(std::format("No existe el destino {}.{} Los destinos son moodle, youtube, correo, audio, gif y webm.",
        inQuotes(name), suggestion(name, ids)));
}

ExportSettings settingsOf(const ExportArguments& arguments, const VideoProject& project)
{
    ExportSettings settings = renderSettings(arguments.height, arguments.quality);
    if (const auto* preset = presetOf(arguments.preset)) {
        const ExportSettings chosen = settings;
        settings = preset->settings(project, chosen);
        if (!arguments.height.empty())
            settings.height = chosen.height;
        if (!arguments.quality.empty())
            settings.quality = chosen.quality;
    }
    settings.subtitles = subtitleCues("--subtitles", arguments.subtitles);
    settings.burnIn = arguments.burnIn;
    settings.isWhole = arguments.whole;
    if (settings.burnIn && settings.subtitles == SubtitleCues::none)
        throw UsageError("--burn-in necesita subtítulos: escribe --subtitles words o --subtitles phrases.");
    if (!arguments.fps.empty())
        settings.fps = integerArgument("--fps", arguments.fps, {1, 240});
    return settings;
}

/// Writes a file to standard output. The caller has unlinked it, so that nothing remains after an interruption.
void writeOut(const UniqueFd& file)
{
    std::array<char, 1 << 16> block{};
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got < 0)
            throw std::system_error(errno, std::system_category());
        if (got == 0)
            return;
        for (std::string_view left(block.data(), static_cast<std::size_t>(got)); !left.empty();) {
            const ssize_t put = ::write(STDOUT_FILENO, left.data(), left.size());
            if (put < 0 && errno != EINTR)
                throw captureError(
                    "No se puede escribir el vídeo: " + describe(std::system_error(errno, std::system_category())) + ".");
            left.remove_prefix(put > 0 ? static_cast<std::size_t>(put) : 0);
        }
    }
}

/// Renders to a temporary file and sends it to standard output. The start of a movie is written last, so it cannot be
/// streamed.
void exportToOutput(Session& session, const VideoProject& project, ExportSettings settings)
{
    if (session.json())
        throw UsageError("Con «-» el vídeo va a la salida estándar, donde no cabe la respuesta de --json.");
    if (::isatty(STDOUT_FILENO) == 1)
        throw UsageError("Un vídeo no se puede escribir en el terminal: añade «> clase.mp4» o «| otra-orden».");
    settings.isTemporary = true;
    if (!settings.burnIn) { // The subtitle file of burned-in subtitles is removed with the folder.
        if (settings.subtitles != SubtitleCues::none)
            session.note("Sin subtítulos: los escribe «orvo subtitles».");
        settings.subtitles = SubtitleCues::none;
    }
    UniqueFd rendered;
    {
        const WorkFolder folder(session.library().store().directory(project.id), "render");
        const fs::path file = folder / ("salida" + std::string(ExportService::extensionOf(settings.format)));
        const auto outcome =
            runInterruptibly("Exportando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
                return ExportService::exportVideo(
                    project, session.library().store(), file, settings, FfprobeMediaProbe(), progress, stop);
            });
        if (const auto remarks = outcome.remarks(); !remarks.empty())
            session.note(remarks);
        rendered.reset(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
        if (!rendered)
            throw fs::filesystem_error("open", file, std::error_code(errno, std::system_category()));
    }
    writeOut(rendered);
}

void exportProject(Session& session, const ExportArguments& arguments)
{
    settingsOf(arguments, VideoProject()); // Reports invalid options before loading the project.
    Library& library = session.library();
    const VideoProject project = library.load(arguments.project);
    ExportSettings settings = settingsOf(arguments, project);
    settings.span = spanOf(arguments, project);
    if (CaptureSession::isMarkedRecording(project))
        throw captureError("Termina esta grabación antes de exportarla.");
    if (arguments.file == "-")
        return exportToOutput(session, project, settings);
    const fs::path file = destination(arguments.file, library.store());
    if (!mayReplace(file, arguments.force))
        throw captureError("No se ha exportado: el archivo que había sigue como estaba.");

    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto outcome = runInterruptibly("Exportando", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return ExportService::exportVideo(project, library.store(), file, settings, FfprobeMediaProbe(), progress, stop);
    });
    if (const auto remarks = outcome.remarks(); !remarks.empty())
        session.note(remarks);
    const fs::path subtitles = ExportService::subtitleFile(file);
    const auto size = fs::file_size(file);
    const bool hasSubtitles = ExportService::hasSubtitleFile(settings);
    const double length = ExportService::exportedDuration(project, settings);
    if (session.json()) {
        JsonValue::Object answer{{"id", project.id}, {"file", file.string()}};
        if (hasSubtitles)
            answer.emplace_back("subtitles", subtitles.string());
        answer.emplace_back("duration", length);
        answer.emplace_back("size", size);
        return session.answer(answer);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::string text = std::format("{}: {} ({}, {}, en {})\n", settings.format == ExportFormat::audio ? "Audio" : "Vídeo",
        printable(file.string()), fineLength(length), sizeLabel(static_cast<double>(size)), clockTime(seconds));
    if (hasSubtitles)
        text += std::format("Subtítulos: {}\n", printable(subtitles.string()));
    session.print(text);
}

} // namespace

void addExportCommand(CLI::App& app, Session& session)
{
    addCommand<ExportArguments>(
        app, session,
        {"export", "Resultado",
            "Exporta el vídeo editado, entero o en parte.\nDeja al lado los subtítulos en un archivo .srt."},
        [](Command& command, ExportArguments& arguments) {
            command.project(arguments.project);
            command.argument("ARCHIVO", arguments.file,
                "El archivo .mp4 (.webm, .m4a o .gif según --preset), o «-» para la salida estándar.");
            command.option("--preset", "DESTINO", arguments.preset,
                "Para qué es: moodle, youtube, correo (como mucho 20 MB), audio, gif o webm. Las demás opciones lo "
                "cambian.");
            command.option("--from", "TIEMPO", arguments.from, "Exporta solo desde este momento de la grabación.");
            command.option("--to", "TIEMPO", arguments.to, "Exporta solo hasta este momento de la grabación.");
            addRenderOptions(command, arguments.height, arguments.quality);
            command.option("--fps", "N", arguments.fps, "Fotogramas por segundo; 30 si no se indica.");
            command.option("--subtitles", "CLASE", arguments.subtitles,
                "words (palabra a palabra), phrases (frases) o none (ninguno); words si no se indica.");
            command.flag("--burn-in", arguments.burnIn, "Muestra los subtítulos también en la imagen.");
            command.flag("--whole", arguments.whole,
                "Genera el vídeo de una vez, sin guardar ni aprovechar los trozos que no cambian de una exportación a "
                "otra.");
            command.flag("--force", arguments.force, "Reemplaza el archivo que haya sin preguntar.");
        },
        exportProject);
}

} // namespace orvo::cli
