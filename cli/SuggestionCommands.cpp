#include "VideoCore/Edits.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/ShownValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <format>
#include <ranges>
#include <set>

namespace orvo::cli {

namespace {

using Terminal::Table;

/// Whether the edit already includes the suggestion, so that applying it would change nothing or duplicate it.
bool isApplied(const VideoProject& project, const Timeline::OutputMap& map, const EditSuggestion& suggestion)
{
    if (suggestion.event) {
        return std::ranges::any_of(project.edit.events, [&](const PointerEvent& event) {
            return event.kind == PointerKind::zoom && event.time == suggestion.event->time && event.x == suggestion.event->x
                && event.y == suggestion.event->y;
        });
    }
    const std::size_t next = map.firstEndingAfter(suggestion.span.start);
    return next == map.kept().size() || map.kept()[next].start >= suggestion.span.end;
}

struct SuggestArguments {
    std::string project;
};

void suggest(Session& session, const SuggestArguments& arguments)
{
    const VideoProject project = session.library().load(arguments.project);
    const auto suggestions = Suggestions::generate(project);
    const Timeline::OutputMap map(project.duration, project.edit.cuts.items());
    if (session.json()) {
        JsonValue::Array list;
        for (const auto& [index, suggestion] : suggestions | std::views::enumerate) {
            JsonValue::Object object{{"number", index + 1}, {"kind", textOf(suggestion.kind)}, {"label", suggestion.label},
                {"start", suggestion.span.start}, {"end", suggestion.span.end},
                {"applied", isApplied(project, map, suggestion)}};
            if (suggestion.event)
                object.emplace_back("zoom",
                    JsonValue::Object{{"x", suggestion.event->x}, {"y", suggestion.event->y},
                        {"scale", suggestion.event->scale}, {"duration", suggestion.event->duration}});
            list.emplace_back(std::move(object));
        }
        return session.answer(list);
    }
    if (suggestions.empty())
        return session.note("No hay mejoras que proponer.");
    Table table({{.align = Table::Align::right}, {}, {}, {}});
    for (const auto& [index, suggestion] : suggestions | std::views::enumerate) {
        table.add({std::to_string(index + 1), exactTime(suggestion.span.start) + " → " + exactTime(suggestion.span.end),
            printable(suggestion.label), isApplied(project, map, suggestion) ? "aplicada" : ""});
    }
    session.print(table.text());
}

struct ApplyArguments {
    std::string project;
    std::vector<std::string> numbers;
    std::vector<std::string> kinds;
    bool all = false;
};

SuggestionKind kindArgument(const std::string& text)
{
    static constexpr std::array<std::string_view, 3> names{"silence", "filler", "zoom"};
    for (const auto kind : {SuggestionKind::silence, SuggestionKind::filler, SuggestionKind::zoom}) {
        if (textOf(kind) == text)
            return kind;
    }
    throw UsageError(std::format(
        "No existe la clase {}.{} Las clases son silence, filler y zoom.", inQuotes(text), suggestion(text, names)));
}

/// The positions of the chosen suggestions.
std::set<std::size_t> chosen(const std::vector<EditSuggestion>& suggestions, const ApplyArguments& arguments)
{
    std::set<std::size_t> result;
    for (const std::string& number : arguments.numbers) {
        if (suggestions.empty())
            throw captureError("No hay mejoras que proponer.");
        result.insert(
            static_cast<std::size_t>(integerArgument("El número", number, {1, static_cast<double>(suggestions.size())}))
            - 1);
    }
    std::set<SuggestionKind> kinds;
    for (const std::string& kind : arguments.kinds)
        kinds.insert(kindArgument(kind));
    for (std::size_t i = 0; i < suggestions.size(); ++i) {
        if (arguments.all || kinds.contains(suggestions[i].kind))
            result.insert(i);
    }
    return result;
}

void apply(Session& session, const ApplyArguments& arguments)
{
    if (arguments.numbers.empty() && arguments.kinds.empty() && !arguments.all)
        throw UsageError(
            "Indica los números de las mejoras («orvo suggest» las lista), su clase con --kind, o todas con --all.");
    JsonValue::Array applied;
    std::size_t already = 0;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        const auto suggestions = Suggestions::generate(edited);
        const Timeline::OutputMap before(edited.duration, edited.edit.cuts.items());
        for (const std::size_t index : chosen(suggestions, arguments)) {
            if (isApplied(edited, before, suggestions[index])) {
                ++already;
                continue;
            }
            Edits::apply(edited, suggestions[index]);
            applied.emplace_back(index + 1);
        }
    });
    if (session.json()) {
        return session.answer(
            JsonValue::Object{{"id", project.id}, {"applied", applied}, {"playableDuration", project.playableDuration()}});
    }
    session.print(std::format("Aplicadas {}{}. Quedan {} de {}.\n", applied.size(),
        already > 0 ? std::format(" ({} ya lo estaban)", already) : "", fineLength(project.playableDuration()),
        fineLength(project.duration)));
}

} // namespace

void addSuggestionCommands(CLI::App& app, Session& session)
{
    addCommand<SuggestArguments>(
        app, session, {"suggest", "Texto", "Propone mejoras: pausas y muletillas que recortar, zooms en los clics."},
        [](Command& command, SuggestArguments& arguments) { command.project(arguments.project); }, suggest);
    addCommand<ApplyArguments>(
        app, session, {"apply", "Texto", "Aplica mejoras propuestas.\nLas que ya están aplicadas se dejan como están."},
        [](Command& command, ApplyArguments& arguments) {
            command.project(arguments.project);
            command.arguments("NUMERO", arguments.numbers, "Sus números en la lista de «orvo suggest».");
            command.options(
                "--kind", "CLASE", arguments.kinds, "Todas las de una clase: silence (pausas), filler (muletillas) o zoom.");
            command.flag("--all", arguments.all, "Todas.");
        },
        apply);
}

} // namespace orvo::cli
