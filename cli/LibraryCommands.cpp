#include "OrvoVideo/library/ProjectOrder.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/Labels.h"
#include "VideoCore/Timeline.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/ShownValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <format>
#include <ranges>

namespace orvo::cli {

namespace {

using Terminal::Table;
using Terminal::Tone;

JsonValue summary(const VideoProject& project)
{
    return JsonValue::Object{
        {"id", project.id},
        {"title", project.title},
        {"state", project.state},
        {"duration", project.duration},
        {"playableDuration", project.playableDuration()},
        {"createdAt", formatIso8601(project.createdAt)},
        {"updatedAt", formatIso8601(project.updatedAt)},
        {"width", project.width},
        {"height", project.height},
        {"published", project.publication.has_value()},
    };
}

struct ListArguments {
    std::string sort;
};

/// Sorts the projects; an empty order means newest first. Throws `UsageError` for an unknown order.
void sort(std::vector<VideoProject>& projects, const std::string& name)
{
    const auto order = name.empty() ? ProjectOrder::created : parseProjectOrder(name);
    if (!order)
        throw UsageError(std::format("No existe el orden {}.{} Los órdenes son created, updated, title y duration.",
            inQuotes(name), suggestion(name, projectOrderTexts)));
    std::ranges::stable_sort(
        projects, [&](const VideoProject& a, const VideoProject& b) { return comesBefore(*order, a, b); });
}

void list(Session& session, const ListArguments& arguments)
{
    auto projects = session.library().list();
    sort(projects, arguments.sort);
    if (session.json())
        return session.answer(projects | std::views::transform(summary) | std::ranges::to<JsonValue::Array>());
    if (const std::size_t all = session.library().ids().size(); all > projects.size())
        session.note(
            std::format("{} de {} proyectos no se pueden leer; «orvo validate» dice por qué.", all - projects.size(), all));
    else if (projects.empty())
        return session.note("La biblioteca está vacía. «orvo import VÍDEO» crea el primer proyecto.");

    const auto ids = shortIds(projects | std::views::transform(&VideoProject::id) | std::ranges::to<std::vector>());
    Table table({{.title = "ID"}, {.title = "Título", .shrinks = true}, {.title = "Duración", .align = Table::Align::right},
        {.title = "Final", .align = Table::Align::right}, {.title = "Estado"}, {.title = "Creado"}});
    for (const auto& [project, id] : std::views::zip(projects, ids)) {
        table.add({id, shownTitle(project.title), clockTime(project.duration), clockTime(project.playableDuration()),
            printable(stateLabel(project.state)), localTime(project.createdAt)});
    }
    session.print(table.text());
}

struct ShowArguments {
    std::string project;
    bool all = false;
};

/// A list in `show`, shortened unless everything is requested.
class Section {
public:
    Section(std::string title, std::vector<Table::Column> columns, bool all)
        : m_title(std::move(title))
        , m_table(std::move(columns))
        , m_all(all)
    {
    }

    void add(std::vector<std::string> cells)
    {
        if (m_all || m_count < shown)
            m_table.add(std::move(cells));
        ++m_count;
    }

    std::string text() const
    {
        if (m_count == 0)
            return "";
        std::string result = "\n" + Terminal::toned(Tone::strong, m_title) + "\n" + m_table.text("  ");
        if (!m_all && m_count > shown)
            result += "  " + Terminal::toned(Tone::quiet, std::format("y {} más (--all)", m_count - shown)) + "\n";
        return result;
    }

private:
    static constexpr std::size_t shown = 12;

    std::string m_title;
    Table m_table;
    std::size_t m_count = 0;
    bool m_all;
};

std::string tracksText(const VideoProject& project, bool all)
{
    Section section("Pistas", {{}, {}, {}, {}, {.shrinks = true}}, all);
    const auto ids = shortIds(project.tracks | std::views::transform(&MediaTrack::id) | std::ranges::to<std::vector>());
    for (const auto& [track, id] : std::views::zip(project.tracks, ids)) {
        section.add(
            {id, std::string(trackLabel(track.kind)), clockTime(track.start) + "–" + clockTime(track.start + track.duration),
                track.volume == 1 ? "" : "volumen " + shortNumber(track.volume), printable(track.file)});
    }
    return section.text();
}

std::string cutsText(const VideoProject& project, bool all)
{
    Section section("Recortes", {{}, {}}, all);
    for (const TimeSpan& cut : project.edit.cuts)
        section.add({exactTime(cut.start) + " → " + exactTime(cut.end), std::format("{:.1f} s", cut.duration())});
    return section.text();
}

std::string overlaysText(const VideoProject& project, bool all)
{
    Section section("Textos e imágenes", {{}, {}, {}, {.shrinks = true}}, all);
    const auto ids = shortIds(project.edit.overlays | std::views::transform(&Overlay::id) | std::ranges::to<std::vector>());
    for (const auto& [overlay, id] : std::views::zip(project.edit.overlays, ids)) {
        const bool text = overlay.kind == Overlay::Kind::text;
        section.add({id, exactTime(overlay.start) + " → " + exactTime(overlay.end), text ? "texto" : "imagen",
            text ? inQuotes(overlay.content) : printable(overlay.content)});
    }
    return section.text();
}

std::string zoomsText(const VideoProject& project, bool all)
{
    Section section("Zooms", {{}, {}, {}, {}}, all);
    auto zooms = project.edit.events
        | std::views::filter([](const PointerEvent& event) { return event.kind == PointerKind::zoom; })
        | std::ranges::to<std::vector>();
    std::ranges::stable_sort(zooms, {}, &PointerEvent::time);
    const auto ids = shortIds(zooms | std::views::transform(&PointerEvent::id) | std::ranges::to<std::vector>());
    for (const auto& [zoom, id] : std::views::zip(zooms, ids)) {
        section.add({id, exactTime(zoom.time) + " → " + exactTime(zoom.time + zoom.duration), "×" + shortNumber(zoom.scale),
            std::format("centro {}, {}", shortNumber(zoom.x), shortNumber(zoom.y))});
    }
    return section.text();
}

std::string settingsText(const EditState& edit)
{
    const auto onOff = [](bool on) { return on ? "sí" : "no"; };
    Table table({{}, {}, {}});
    table.add({"Mostrar cámara", onOff(edit.cameraVisible), "cameraVisible"});
    table.add({"Cámara: izquierda, arriba, ancho",
        std::format("{}, {}, {}", shortNumber(edit.cameraX), shortNumber(edit.cameraY), shortNumber(edit.cameraWidth)),
        "cameraX, cameraY, cameraWidth"});
    table.add({"Resaltar puntero", onOff(edit.pointerHighlight), "pointerHighlight"});
    table.add({"Halo al hacer clic", onOff(edit.clickHalo), "clickHalo"});
    table.add({"Reducir ruido de micrófono", onOff(edit.noiseReduction), "noiseReduction"});
    table.add({"Normalizar voz", onOff(edit.normalizeVoice), "normalizeVoice"});
    table.add({"Nitidez suave", onOff(edit.sharpen), "sharpen"});
    table.add({"Fundido entre cortes", shortNumber(edit.fade) + " s", "fade"});
    return "\n" + Terminal::toned(Tone::strong, "Ajustes") + "\n" + table.text("  ");
}

void show(Session& session, const ShowArguments& arguments)
{
    const VideoProject project = session.library().load(arguments.project);
    if (session.json())
        return session.print(encodeDocument(project));

    const auto count = [&](PointerKind kind) { return std::ranges::count(project.edit.events, kind, &PointerEvent::kind); };
    const auto merged = Timeline::merged(project.edit.cuts, project.duration);
    Table facts({{}, {}});
    facts.add({"Identificador", project.id.text()});
    facts.add({"Estado", printable(stateLabel(project.state))});
    facts.add({"Creado",
        localTime(project.createdAt)
            + (project.updatedAt == project.createdAt ? "" : ", cambiado " + localTime(project.updatedAt))});
    facts.add({"Duración",
        merged.empty()
            ? fineLength(project.duration)
            : std::format("{}, recortada {}", fineLength(project.duration), fineLength(project.playableDuration()))});
    facts.add({"Imagen", std::format("{}×{}, {} fps", project.width, project.height, project.fps)});
    if (!project.edit.words.empty())
        facts.add({"Transcripción", std::format("{} palabras", project.edit.words.size())});
    if (count(PointerKind::move) + count(PointerKind::click) > 0)
        facts.add({"Puntero", std::format("{} posiciones, {} clics", count(PointerKind::move), count(PointerKind::click))});
    if (project.publication)
        facts.add({"Publicado", printable(project.publication->url)});
    facts.add({"Carpeta", printable(session.library().store().directory(project.id).string())});

    session.print(Terminal::toned(Tone::strong, shownTitle(project.title)) + "\n" + facts.text("  ")
        + tracksText(project, arguments.all) + cutsText(project, arguments.all) + overlaysText(project, arguments.all)
        + zoomsText(project, arguments.all) + settingsText(project.edit));
}

} // namespace

void addLibraryCommands(CLI::App& app, Session& session)
{
    addCommand<ListArguments>(
        app, session, {"list", "Biblioteca", "Lista los proyectos, el más reciente primero."},
        [](Command& command, ListArguments& arguments) {
            command.option("--sort", "ORDEN", arguments.sort,
                "created (el más reciente primero), updated (el último cambiado primero), title o duration (el más largo "
                "primero); created si no se indica.");
        },
        list);
    addCommand<ShowArguments>(
        app, session,
        {"show", "Biblioteca", "Muestra un proyecto y su edición.\nCon --json, su documento tal como está guardado."},
        [](Command& command, ShowArguments& arguments) {
            command.project(arguments.project);
            command.flag("--all", arguments.all, "Muestra enteras las listas largas.");
        },
        show);
}

} // namespace orvo::cli
