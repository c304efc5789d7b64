#include "VideoCore/Edits.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Phrases.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/TextSearch.h"
#include "VideoCore/Timeline.h"
#include "VideoCore/Transcript.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Destination.h"
#include "cli/ExitStatus.h"
#include "cli/RenderOptions.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"
#include "cli/TranscriptText.h"

#include <algorithm>
#include <format>
#include <limits>
#include <ranges>

namespace orvo::cli {

namespace {

using Terminal::Table;
using Timeline::SubtitleFormat;

struct WordsArguments {
    std::string project;
    std::string word;
    std::string text;
    std::string from;
    std::string to;
    std::string grep;

    bool isFiltered() const { return !from.empty() || !to.empty() || !grep.empty(); }
};

/// How much of a word remains after the cuts.
enum class Kept : std::uint8_t { all, part, nothing };

Kept keptOf(const TranscriptWord& word, const Timeline::OutputMap& map)
{
    const std::size_t index = map.firstEndingAfter(word.start);
    if (index == map.kept().size() || map.kept()[index].start >= word.end)
        return Kept::nothing;
    const TimeSpan& stretch = map.kept()[index];
    return stretch.start <= word.start && stretch.end >= word.end ? Kept::all : Kept::part;
}

/// Whether each word is selected: it touches the span and matches the text.
std::vector<char> chosenWords(const WordsArguments& arguments, const SharedList<TranscriptWord>& words)
{
    const double from = arguments.from.empty() ? 0 : timeArgument("--from", arguments.from);
    const double to = arguments.to.empty() ? std::numeric_limits<double>::infinity() : timeArgument("--to", arguments.to);
    if (to < from)
        throw UsageError("--to queda antes que --from.");
    std::vector<char> chosen(words.size(), arguments.grep.empty());
    if (!arguments.grep.empty()) {
        for (const auto& hit : TextSearch(words.items()).find(textArgument("--grep", arguments.grep)))
            std::fill(chosen.begin() + std::ptrdiff_t(hit.first), chosen.begin() + std::ptrdiff_t(hit.last) + 1, true);
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i].end < from || words[i].start > to)
            chosen[i] = false;
    }
    return chosen;
}

void listWords(Session& session, const VideoProject& project, const WordsArguments& arguments)
{
    const auto& words = project.edit.words;
    const auto chosen = chosenWords(arguments, words);
    const Timeline::OutputMap map(project.duration, project.edit.cuts.items());
    if (session.json()) {
        JsonValue::Array list;
        for (const auto& [word, isChosen] : std::views::zip(words, chosen)) {
            if (!isChosen)
                continue;
            list.emplace_back(
                JsonValue::Object{{"id", word.id}, {"start", word.start}, {"end", word.end}, {"text", word.text},
                    {"filler", Suggestions::isFiller(word.text)}, {"cut", keptOf(word, map) == Kept::nothing}});
        }
        return session.answer(list);
    }
    if (words.empty())
        return session.note("El proyecto no tiene transcripción.");
    if (!std::ranges::contains(chosen, true))
        return session.note("Ninguna palabra de la transcripción cumple lo pedido.");
    const auto ids = shortIds(words | std::views::transform(&TranscriptWord::id) | std::ranges::to<std::vector>());
    Table table({{}, {}, {}, {}});
    for (const auto& [word, id, isChosen] : std::views::zip(words, ids, chosen)) {
        if (!isChosen)
            continue;
        const Kept kept = keptOf(word, map);
        table.add({id, exactTime(word.start), printable(word.text),
            kept == Kept::nothing                  ? "recortada"
                : kept == Kept::part               ? "recortada en parte"
                : Suggestions::isFiller(word.text) ? "muletilla"
                                                   : ""});
    }
    session.print(table.text());
}

void correctWord(Session& session, const WordsArguments& arguments)
{
    const std::string text = textArgument("TEXTO", arguments.text);
    Uuid id;
    std::string before;
    const VideoProject project = session.library().edit(arguments.project, [&](VideoProject& edited) {
        const auto ids = edited.edit.words | std::views::transform(&TranscriptWord::id) | std::ranges::to<std::vector>();
        const auto index = findById(arguments.word, ids, "palabra");
        if (!index)
            throw captureError(std::format("El proyecto no tiene ninguna palabra {}.", inQuotes(arguments.word)));
        id = ids[*index];
        before = edited.edit.words[*index].text;
        Edits::correctWord(edited, id, text);
    });
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"word", id}, {"text", text}});
    session.print(std::format("{} → {}\n", inQuotes(before), inQuotes(text)));
}

void words(Session& session, const WordsArguments& arguments)
{
    if (arguments.word.empty())
        return listWords(session, session.library().load(arguments.project), arguments);
    if (arguments.isFiltered())
        throw UsageError("--from, --to y --grep eligen palabras de la lista: no valen al corregir una.");
    if (arguments.text.empty())
        throw UsageError("Falta el texto nuevo de la palabra.");
    correctWord(session, arguments);
}

struct SubtitlesArguments {
    std::string project;
    std::string file;
    std::string format;
    std::string cues;
};

SubtitleFormat formatOf(const SubtitlesArguments& arguments)
{
    static constexpr std::array<std::string_view, 2> names{"srt", "vtt"};
    std::string name = arguments.format;
    if (name.empty()) {
        const std::string extension = std::filesystem::path(arguments.file).extension().string();
        name = extension == ".vtt" || extension == ".VTT" ? "vtt" : "srt";
    }
    if (!std::ranges::contains(names, name))
        throw UsageError(std::format("No existe el formato {}: escribe «srt» o «vtt».", inQuotes(name)));
    return name == "vtt" ? SubtitleFormat::webVtt : SubtitleFormat::subRip;
}

void subtitles(Session& session, const SubtitlesArguments& arguments)
{
    const SubtitleFormat format = formatOf(arguments);
    const VideoProject project = session.library().load(arguments.project);
    const bool isPhrases = subtitleCues("--cues", arguments.cues) == SubtitleCues::phrases;
    const std::string text = isPhrases ? Phrases::subtitles(project, format) : Timeline::subtitles(project, format);
    if (project.edit.words.empty())
        session.note("El proyecto no tiene transcripción: los subtítulos quedan vacíos.");
    const std::string_view formatName = format == SubtitleFormat::webVtt ? "vtt" : "srt";
    if (arguments.file.empty() || arguments.file == "-") {
        if (session.json())
            return session.answer(JsonValue::Object{{"id", project.id}, {"format", formatName}, {"text", text}});
        return session.print(text);
    }
    const auto file = destination(arguments.file, session.library().store());
    writeFileAtomically(file, text);
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"format", formatName}, {"file", file.string()}});
    session.print(std::format("Subtítulos en {}\n", printable(file.string())));
}

} // namespace

void printTranscript(Session& session, const std::string& reference, const std::string& format)
{
    if (!format.empty() && format != "txt" && format != "md")
        throw UsageError(std::format("No existe el formato {}: escribe «txt» o «md».", inQuotes(format)));
    const bool isMarkdown = format == "md";
    const VideoProject project = session.library().load(reference);
    const std::string text =
        Transcript::text(project, isMarkdown ? Transcript::TextFormat::markdown : Transcript::TextFormat::plain);
    if (project.edit.words.empty())
        session.note("El proyecto no tiene transcripción.");
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"format", isMarkdown ? "md" : "txt"}, {"text", text}});
    session.print(text);
}

void addTranscriptCommands(CLI::App& app, Session& session)
{
    addCommand<WordsArguments>(
        app, session, {"words", "Texto", "Lista las palabras de la transcripción o corrige una."},
        [](Command& command, WordsArguments& arguments) {
            command.project(arguments.project);
            command.optionalArgument(
                "PALABRA", arguments.word, "La palabra que se corrige: su identificador o el comienzo de este.");
            command.optionalArgument("TEXTO", arguments.text, "Su texto nuevo.");
            command.option("--from", "TIEMPO", arguments.from, "Solo las palabras desde este momento.");
            command.option("--to", "TIEMPO", arguments.to, "Solo las palabras hasta este momento.");
            command.option("--grep", "BUSCADO", arguments.grep,
                "Solo donde se dice esto, sea una palabra o varias; mayúsculas y acentos dan igual.");
        },
        words);
    addCommand<SubtitlesArguments>(
        app, session, {"subtitles", "Resultado", "Escribe los subtítulos del vídeo ya recortado."},
        [](Command& command, SubtitlesArguments& arguments) {
            command.project(arguments.project);
            command.optionalArgument("ARCHIVO", arguments.file, "Dónde; sin él, en la salida estándar.");
            command.option("--format", "FORMATO", arguments.format, "srt o vtt; si no se indica, según el archivo, o srt.");
            command.option("--cues", "CLASE", arguments.cues,
                "words (palabra a palabra) o phrases (frases que se leen bien); words si no se indica.");
        },
        subtitles);
}

} // namespace orvo::cli
