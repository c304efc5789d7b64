#include "VideoCore/Edits.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <optional>
#include <ranges>
#include <utility>

namespace orvo::cli {

namespace {

/// Seconds. Times are shown in milliseconds, so a typed time matches a stored one within a millisecond.
constexpr double sameTime = 0.001;

std::string shown(const TimeSpan& span)
{
    return exactTime(span.start) + " → " + exactTime(span.end);
}

/// Reports the result of a command that changed the cuts. `made` is its new cut.
void reportCuts(Session& session, const VideoProject& project, const std::string& sentence,
    const std::optional<TimeSpan>& made = std::nullopt)
{
    if (!session.json()) {
        return session.print(std::format(
            "{} Quedan {} de {}.\n", sentence, fineLength(project.playableDuration()), fineLength(project.duration)));
    }
    const auto span = [](const TimeSpan& cut) {
        return JsonValue(JsonValue::Object{{"start", cut.start}, {"end", cut.end}});
    };
    JsonValue::Object answer{
        {"id", project.id},
        {"duration", project.duration},
        {"playableDuration", project.playableDuration()},
        {"cuts", project.edit.cuts.items() | std::views::transform(span) | std::ranges::to<JsonValue::Array>()},
    };
    if (made)
        answer.emplace_back("cut", span(*made));
    session.answer(answer);
}

struct CutArguments {
    std::string project;
    std::string start;
    std::string end;
    std::string word;
};

/// The span of one word of the transcript.
TimeSpan spanOfWord(const VideoProject& project, const std::string& reference)
{
    const auto ids = project.edit.words | std::views::transform(&TranscriptWord::id) | std::ranges::to<std::vector>();
    const auto index = findById(reference, ids, "palabra");
    if (!index)
        throw captureError(std::format("El proyecto no tiene ninguna palabra {}.", inQuotes(reference)));
    const TranscriptWord& word = project.edit.words[*index];
    return {word.start, word.end};
}

void cut(Session& session, const CutArguments& arguments)
{
    const bool byWord = !arguments.word.empty();
    if (byWord == !arguments.start.empty() || arguments.start.empty() != arguments.end.empty())
        throw UsageError("Indica el tramo con INICIO y FIN, o una palabra con --word.");
    TimeSpan span;
    std::string limits; ///< The remark about a span that exceeds the recording.
    const auto checkLength = [&] {
        if (span.end < span.start)
            throw UsageError(
                std::format("El final ({}) es anterior al inicio ({}).", exactTime(span.end), exactTime(span.start)));
        if (!(span.duration() > Edits::minCut))
            throw UsageError(std::format("El tramo debe durar más de {} segundos.", shortNumber(Edits::minCut)));
    };
    if (!byWord) {
        span = {timeArgument("INICIO", arguments.start), timeArgument("FIN", arguments.end)};
        checkLength();
    }
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        if (byWord) {
            span = spanOfWord(edited, arguments.word);
            checkLength();
        }
        if (span.start >= edited.duration || span.end <= 0)
            throw UsageError(std::format(
                "El tramo {} queda fuera de la grabación, que dura {}.", shown(span), exactTime(edited.duration)));
        const TimeSpan asked = std::exchange(span, {std::max(span.start, 0.0), std::min(span.end, edited.duration)});
        checkLength();
        if (span != asked)
            limits = std::format(" La grabación va de {} a {}.", exactTime(0), exactTime(edited.duration));
        Edits::cut(edited, span);
    });
    reportCuts(session, project, std::format("Recortado {}.{}", shown(span), limits), span);
}

struct RestoreArguments {
    std::string project;
    std::string start;
    std::string end;
    bool all = false;
};

/// The stored cut with this start and end; without an end, the cut that contains the start.
TimeSpan findCut(const VideoProject& project, double start, std::optional<double> end)
{
    const auto matches = [&](const TimeSpan& cut) {
        if (end)
            return std::abs(cut.start - start) < sameTime && std::abs(cut.end - *end) < sameTime;
        return start > cut.start - sameTime && start < cut.end + sameTime;
    };
    const auto found = std::ranges::find_if(project.edit.cuts, matches);
    if (found != project.edit.cuts.end())
        return *found;
    if (end)
        throw captureError(std::format("No hay ningún recorte {}. «orvo show» los muestra.", shown({start, *end})));
    throw captureError(std::format("No hay ningún recorte en {}. «orvo show» los muestra.", exactTime(start)));
}

void restore(Session& session, const RestoreArguments& arguments)
{
    if (arguments.all == !arguments.start.empty())
        throw UsageError("Indica qué recorte restaurar con INICIO y FIN, con un momento de él, o todos con --all.");
    const double start = arguments.all ? 0 : timeArgument("INICIO", arguments.start);
    const auto end = arguments.end.empty() ? std::nullopt : std::optional(timeArgument("FIN", arguments.end));
    std::string sentence;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        if (arguments.all) {
            sentence = std::format("Restaurados {} recortes.", edited.edit.cuts.size());
            for (const TimeSpan& stored : SharedList(edited.edit.cuts))
                Edits::restore(edited, stored);
            return;
        }
        const TimeSpan stored = findCut(edited, start, end);
        Edits::restore(edited, stored);
        sentence = std::format("Restaurado {}.", shown(stored));
    });
    reportCuts(session, project, sentence);
}

struct StepArguments {
    std::string project;
};

/// Goes a step back or forward and reports its name; `done` is "Deshecho" or "Rehecho".
void move(Session& session, const StepArguments& arguments, std::string_view done,
    DocumentSteps::Moved (*step)(const ProjectStore&, const Uuid&))
{
    const auto moved = session.library().move(arguments.project, step);
    const VideoProject& project = moved.project;
    if (session.json()) {
        return session.answer(JsonValue::Object{{"id", project.id}, {"step", moved.step}, {"undoable", moved.undoable},
            {"redoable", moved.redoable}, {"duration", project.duration}, {"playableDuration", project.playableDuration()}});
    }
    session.print(std::format("{}: {}. Quedan {} de {}.\n", done, printable(moved.step),
        fineLength(project.playableDuration()), fineLength(project.duration)));
}

} // namespace

void addEditCommands(CLI::App& app, Session& session)
{
    addCommand<CutArguments>(
        app, session, {"cut", "Edición", "Recorta un tramo.\nLos recortes que se tocan se unen; el original no cambia."},
        [](Command& command, CutArguments& arguments) {
            command.project(arguments.project);
            command.optionalArgument(
                "INICIO", arguments.start, "Dónde empieza el tramo: segundos (83.5) o minutos y segundos (1:23.5).");
            command.optionalArgument("FIN", arguments.end, "Dónde termina.");
            command.option("--word", "PALABRA", arguments.word,
                "En vez del tramo, una palabra de la transcripción por su identificador.");
        },
        cut);
    addCommand<RestoreArguments>(
        app, session, {"restore", "Edición", "Deshace un recorte."},
        [](Command& command, RestoreArguments& arguments) {
            command.project(arguments.project);
            command.optionalArgument(
                "INICIO", arguments.start, "Dónde empieza el recorte; sin FIN, cualquier momento de él.");
            command.optionalArgument("FIN", arguments.end, "Dónde termina.");
            command.flag("--all", arguments.all, "Deshace todos los recortes.");
        },
        restore);
    const auto defineStep = [](Command& command, StepArguments& arguments) { command.project(arguments.project); };
    addCommand<StepArguments>(app, session,
        {"undo", "Edición",
            "Deshace el último cambio que hizo orvo.\nUna y otra vez, hasta 50 cambios atrás, mientras ningún otro programa "
            "haya "
            "cambiado el proyecto. Lo publicado no cambia."},
        defineStep, [](Session& commandSession, const StepArguments& arguments) {
            move(commandSession, arguments, "Deshecho", DocumentSteps::undo);
        });
    addCommand<StepArguments>(app, session, {"redo", "Edición", "Rehace el último cambio que deshizo «orvo undo»."},
        defineStep, [](Session& commandSession, const StepArguments& arguments) {
            move(commandSession, arguments, "Rehecho", DocumentSteps::redo);
        });
}

} // namespace orvo::cli
