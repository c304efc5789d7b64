#include "VideoCore/Edits.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Elements.h"
#include "cli/ExitStatus.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <format>
#include <ranges>

namespace orvo::cli {

namespace {

constexpr std::array<std::string_view, 12> fieldNames{"title", "cameraVisible", "cameraX", "cameraY", "cameraWidth",
    "pointerHighlight", "clickHalo", "noiseReduction", "normalizeVoice", "sharpen", "fade", "volume"};

struct SetArguments {
    std::string project;
    std::string field;
    std::string value;
};

struct Applied {
    std::string field; ///< Name in the document.
    JsonValue value;
};

[[noreturn]] void refuseField(std::string_view field, std::span<const std::string_view> known)
{
    std::string all;
    for (const auto name : known)
        all += (all.empty() ? "" : ", ") + std::string(name);
    throw UsageError(
        std::format("No existe el campo {}.{} Los campos son: {}.", inQuotes(field), suggestion(field, known), all));
}

Range rangeOf(std::string_view editValue)
{
    if (editValue == "fade")
        return fadeRange;
    return editValue == "cameraWidth" ? widthRange : placeRange;
}

[[noreturn]] void refuseTrack(std::string_view reference)
{
    const auto kinds = allTrackKinds() | std::views::transform([](TrackKind kind) { return textOf(kind); })
        | std::ranges::to<std::vector>();
    throw UsageError(std::format("No existe la pista {}.{} Escribe microphone, system, screen, clip o su identificador.",
        inQuotes(reference), suggestion(reference, kinds)));
}

/// The one track with audio that `reference` names: by its kind in the document, or by its identifier.
Uuid findTrack(const VideoProject& project, std::string_view reference)
{
    const auto kind = parseTrackKind(reference);
    const auto ids = project.tracks
        | std::views::filter([&](const MediaTrack& track) { return !kind || track.kind == *kind; })
        | std::views::transform(&MediaTrack::id) | std::ranges::to<std::vector>();
    if (!kind) {
        if (!looksLikeId(reference))
            refuseTrack(reference);
        const auto index = findById(reference, ids, "pista");
        if (!index)
            throw captureError(std::format("El proyecto no tiene ninguna pista {}.", inQuotes(reference)));
        return ids[*index];
    }
    if (ids.empty())
        throw captureError(std::format("El proyecto no tiene ninguna pista {}.", inQuotes(reference)));
    if (ids.size() > 1) {
        std::string message = std::format("Hay varias pistas {}. Usa el identificador de una:", inQuotes(reference));
        for (const Uuid& id : ids)
            message += "\n  volume." + id.text();
        throw UsageError(message);
    }
    return ids.front();
}

Applied setVolume(VideoProject& project, std::string_view track, const std::string& value)
{
    const double volume = numberArgument("El volumen", value, volumeRange);
    const Uuid id = findTrack(project, track);
    Edits::setVolume(project, id, volume);
    return {"volume." + id.text(), volume};
}

Applied setOverlay(VideoProject& project, const Uuid& id, std::string_view field, const std::string& value)
{
    static constexpr std::array<std::string_view, 5> names{"start", "end", "x", "y", "width"};
    if (!std::ranges::contains(names, field))
        refuseField(field, names);
    const bool time = field == "start" || field == "end";
    const double number =
        time ? timeArgument(field, value) : numberArgument(field, value, field == "width" ? widthRange : placeRange);
    Edits::setOverlayValue(project, id, Edits::fieldNamed<double, Overlay>(field), number);
    return {id.text() + "." + std::string(field), number};
}

Applied setEvent(VideoProject& project, const Uuid& id, std::string_view field, const std::string& value)
{
    static constexpr std::array<std::string_view, 5> names{"time", "duration", "scale", "x", "y"};
    if (!std::ranges::contains(names, field))
        refuseField(field, names);
    const double number = field == "time" ? timeArgument(field, value)
                                          : numberArgument(field, value,
                                                field == "duration"    ? durationRange
                                                    : field == "scale" ? scaleRange
                                                                       : centreRange);
    Edits::setEventValue(project, id, Edits::fieldNamed<double, PointerEvent>(field), number);
    return {id.text() + "." + std::string(field), number};
}

/// Sets a field of a part of the project: "volume.TRACK", "TRACK.volume" or "ELEMENT.FIELD".
Applied setPart(VideoProject& project, std::string_view before, std::string_view after, const std::string& value)
{
    if (before == "volume")
        return setVolume(project, after, value);
    if (after == "volume")
        return setVolume(project, before, value);
    const Element element = findElement(project, before);
    return element.kind == Element::Kind::overlay ? setOverlay(project, element.id, after, value)
                                                  : setEvent(project, element.id, after, value);
}

Applied apply(VideoProject& project, const SetArguments& arguments)
{
    const std::string_view field = arguments.field;
    const std::string& value = arguments.value;
    if (field == "title") {
        project.title = textArgument("El título", value);
        return {"title", project.title};
    }
    if (const auto flag = Edits::fieldNamed<bool, EditState>(field)) {
        project.edit.*flag = flagArgument(field, value);
        return {std::string(field), project.edit.*flag};
    }
    if (const auto number = Edits::fieldNamed<double, EditState>(field)) {
        project.edit.*number = numberArgument(field, value, rangeOf(field));
        return {std::string(field), project.edit.*number};
    }
    if (const std::size_t dot = field.find('.'); dot != std::string_view::npos)
        return setPart(project, field.substr(0, dot), field.substr(dot + 1), value);
    if (field == "volume")
        throw UsageError("Indica la pista: volume.microphone, volume.system, volume.screen, o volume. y su identificador.");
    refuseField(field, fieldNames);
}

std::string shown(const JsonValue& value)
{
    if (const auto* flag = std::get_if<bool>(&value.content()))
        return *flag ? "sí" : "no";
    if (const auto* number = std::get_if<double>(&value.content()))
        return shortNumber(*number);
    return inQuotes(std::get<std::string>(value.content()));
}

void set(Session& session, const SetArguments& arguments)
{
    std::optional<Applied> applied;
    const VideoProject project =
        session.library().edit(arguments.project, [&](VideoProject& edited) { applied = apply(edited, arguments); });
    if (session.json()) {
        return session.answer(JsonValue::Object{{"id", project.id}, {"field", applied->field}, {"value", applied->value}});
    }
    session.print(std::format("{}: {}\n", printable(arguments.field), shown(applied->value)));
}

} // namespace

void addSetCommand(CLI::App& app, Session& session)
{
    addCommand<SetArguments>(
        app, session, {"set", "Edición", "Cambia el título o un ajuste."},
        [](Command& command, SetArguments& arguments) {
            command.project(arguments.project);
            command.argument("CAMPO", arguments.field, "Qué se cambia; la lista está abajo.");
            command.argument("VALOR", arguments.value,
                "El valor nuevo: un texto, un número, o «sí» o «no». Si empieza por un guion y no es un número, escribe "
                "antes «--».");
            command.notes(R"(Campos
  title                     Título.
  cameraVisible             Mostrar la cámara: sí o no.
  cameraX, cameraY          Borde izquierdo y superior de la cámara, como
                            fracción de la imagen.
  cameraWidth               Ancho de la cámara, como fracción de la imagen.
  pointerHighlight          Resaltar el puntero: sí o no.
  clickHalo                 Halo al hacer clic: sí o no.
  noiseReduction            Reducir el ruido del micrófono: sí o no.
  normalizeVoice            Normalizar la voz: sí o no.
  sharpen                   Nitidez suave: sí o no.
  fade                      Fundido entre cortes, en segundos.
  volume.PISTA              Volumen: 1 es el original, 0 lo quita. PISTA es
                            microphone, system, screen, clip o el
                            identificador de la pista.
  ELEMENTO.start, .end      Cuándo se ve un texto o una imagen.
  ELEMENTO.x, .y, .width    Dónde se ve, como fracción de la imagen.
  ELEMENTO.time, .duration  Cuándo empieza un zoom y cuántos segundos dura.
  ELEMENTO.scale, .x, .y    Aumento del zoom, de 1 a 4, y su centro.)");
        },
        set);
}

} // namespace orvo::cli
