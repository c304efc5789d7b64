#include "OrvoVideo/library/ProjectImage.h"
#include "VideoCore/Edits.h"
#include "VideoMedia/OverlayImage.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Elements.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/TextColumns.h"
#include "cli/TranscriptText.h"

#include <format>
#include <optional>

namespace orvo::cli {

namespace {

/// Reports the new element, as text or as JSON with its identifier.
void reportNew(Session& session, const VideoProject& project, const Uuid& element, const std::string& sentence)
{
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"element", element}});
    session.print(std::format("{} Identificador: {}\n", sentence, element.text()));
}

/// Throws `UsageError` for a time outside the recording.
void requireInside(const VideoProject& project, double time)
{
    if (time < 0 || time >= project.duration) {
        throw UsageError(std::format(
            "El momento {} queda fuera de la grabación, que dura {}.", exactTime(time), exactTime(project.duration)));
    }
}

struct OverlayArguments {
    std::string project;
    std::string time;
    std::string content;
    std::string duration;
    std::string x;
    std::string y;
    std::string width;
    std::string format;

    bool hasOptions() const { return !duration.empty() || !x.empty() || !y.empty() || !width.empty(); }
};

/// An overlay with the values of the options, else the defaults.
Overlay overlayAt(const VideoProject& project, Overlay::Kind kind, std::string content, const OverlayArguments& arguments)
{
    const double start = timeArgument("MOMENTO", arguments.time);
    requireInside(project, start);
    Overlay overlay = Edits::makeOverlay(project, kind, std::move(content), start);
    if (!arguments.duration.empty())
        overlay.end = start + numberArgument("--duration", arguments.duration, durationRange);
    if (!arguments.x.empty())
        overlay.x = numberArgument("--x", arguments.x, placeRange);
    if (!arguments.y.empty())
        overlay.y = numberArgument("--y", arguments.y, placeRange);
    if (!arguments.width.empty())
        overlay.width = numberArgument("--width", arguments.width, widthRange);
    return overlay;
}

std::string shown(const Overlay& overlay)
{
    return exactTime(overlay.start) + " → " + exactTime(overlay.end);
}

void addText(Session& session, const OverlayArguments& arguments)
{
    const std::string text = textArgument("TEXTO", arguments.content);
    if (text.empty())
        throw UsageError("El texto está vacío.");
    Overlay overlay;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        overlay = overlayAt(edited, Overlay::Kind::text, text, arguments);
        edited.edit.overlays.edit().push_back(overlay);
    });
    reportNew(session, project, overlay.id, std::format("Texto {} en {}.", inQuotes(text), shown(overlay)));
}

void textOrTranscript(Session& session, const OverlayArguments& arguments)
{
    if (arguments.time.empty() && arguments.hasOptions())
        throw UsageError("Falta el momento en que aparece el texto.");
    if (arguments.time.empty())
        return printTranscript(session, arguments.project, arguments.format);
    if (!arguments.format.empty())
        throw UsageError("--format es para la transcripción: no vale al añadir un texto.");
    addText(session, arguments);
}

void addImage(Session& session, const OverlayArguments& arguments)
{
    const std::filesystem::path image = arguments.content;
    std::optional<ProjectImage> copy;
    Overlay overlay;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        overlay = overlayAt(edited, Overlay::Kind::image, "", arguments);
        copy.emplace(runInterruptibly("Copiando", [&](const ProgressCallback&, const std::stop_token& stop) {
            return ProjectImage(session.library().store(), edited, image, stop);
        }));
        overlay.content = copy->name();
        edited.edit.overlays.edit().push_back(overlay);
    });
    copy->keep();
    reportNew(
        session, project, overlay.id, std::format("Imagen {} en {}.", inQuotes(image.filename().string()), shown(overlay)));
}

struct ZoomArguments {
    std::string project;
    std::string time;
    std::string x;
    std::string y;
    std::string scale;
    std::string duration;
};

void addZoom(Session& session, const ZoomArguments& arguments)
{
    PointerEvent zoom;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        const double time = timeArgument("MOMENTO", arguments.time);
        requireInside(edited, time);
        zoom = Edits::makeZoom(time);
        if (!arguments.x.empty())
            zoom.x = numberArgument("--x", arguments.x, centreRange);
        if (!arguments.y.empty())
            zoom.y = numberArgument("--y", arguments.y, centreRange);
        if (!arguments.scale.empty())
            zoom.scale = numberArgument("--scale", arguments.scale, scaleRange);
        if (!arguments.duration.empty())
            zoom.duration = numberArgument("--duration", arguments.duration, durationRange);
        edited.edit.events.edit().push_back(zoom);
    });
    reportNew(session, project, zoom.id,
        std::format(
            "Zoom ×{} en {} → {}.", shortNumber(zoom.scale), exactTime(zoom.time), exactTime(zoom.time + zoom.duration)));
}

struct RemoveArguments {
    std::string project;
    std::string element;
};

void remove(Session& session, const RemoveArguments& arguments)
{
    Element element;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        element = findElement(edited, arguments.element);
        Edits::removeOverlay(edited, element.id);
        Edits::removeEvent(edited, element.id);
    });
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"element", element.id}});
    session.print(std::format("Quitado: {}.\n", element.id.text()));
}

constexpr const char* appearing = "Cuándo aparece: segundos (83.5) o minutos y segundos (1:23.5).";

void declarePlace(Command& command, OverlayArguments& arguments)
{
    command.option("--duration", "SEGUNDOS", arguments.duration, "Segundos que se ve; 5 si no se indica.");
    command.option("--x", "N", arguments.x, "Borde izquierdo, como fracción del ancho; 0.08 si no se indica.");
    command.option("--y", "N", arguments.y, "Borde superior, como fracción del alto; 0.08 si no se indica.");
}

} // namespace

void addElementCommands(CLI::App& app, Session& session)
{
    addCommand<OverlayArguments>(
        app, session,
        {"text", "Edición",
            "Añade un texto sobre la imagen, o escribe lo que se dice.\nCon el proyecto solo, escribe en "
            "párrafos lo que se dice en el vídeo ya recortado."},
        [](Command& command, OverlayArguments& arguments) {
            command.project(arguments.project);
            command.optionalArgument("MOMENTO", arguments.time, appearing);
            command.optionalArgument("TEXTO", arguments.content, "El texto; si empieza por un guion, escribe antes «--».");
            declarePlace(command, arguments);
            command.option("--format", "FORMATO", arguments.format,
                "De lo que se dice: txt, o md con el momento de cada párrafo; txt si no se indica.");
        },
        textOrTranscript);
    addCommand<OverlayArguments>(
        app, session, {"image", "Edición", "Añade una imagen encima.\nSe copia al proyecto."},
        [](Command& command, OverlayArguments& arguments) {
            command.project(arguments.project);
            command.argument("MOMENTO", arguments.time, appearing);
            command.argument("ARCHIVO", arguments.content, "La imagen: " + OverlayImage::kindNames() + ".");
            declarePlace(command, arguments);
            command.option("--width", "N", arguments.width, "Ancho, como fracción del vídeo; 0.3 si no se indica.");
        },
        addImage);
    addCommand<ZoomArguments>(
        app, session, {"zoom", "Edición", "Añade un zoom."},
        [](Command& command, ZoomArguments& arguments) {
            command.project(arguments.project);
            command.argument("MOMENTO", arguments.time, "Cuándo empieza: segundos (83.5) o minutos y segundos (1:23.5).");
            command.option("--x", "N", arguments.x, "Centro, como fracción del ancho; 0.5 si no se indica.");
            command.option("--y", "N", arguments.y, "Centro, como fracción del alto; 0.5 si no se indica.");
            command.option("--scale", "N", arguments.scale, "Aumento, de 1 a 4; 1.8 si no se indica.");
            command.option("--duration", "SEGUNDOS", arguments.duration, "Segundos que dura; 2.5 si no se indica.");
        },
        addZoom);
    addCommand<RemoveArguments>(
        app, session, {"remove", "Edición", "Quita un texto, una imagen o un zoom."},
        [](Command& command, RemoveArguments& arguments) {
            command.project(arguments.project);
            command.argument(
                "ELEMENTO", arguments.element, "Su identificador o el comienzo de este; «orvo show» los muestra.");
        },
        remove);
}

} // namespace orvo::cli
