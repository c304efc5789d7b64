#include "OrvoVideo/transcription/ProjectTranscription.h"
#include "VideoCore/Suggestions.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/ProjectLock.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <format>

namespace orvo::cli {

namespace {

struct TranscribeArguments {
    std::string project;
    std::string language = "es-ES";
    std::string model;
    bool careful = false;
};

std::vector<TranscriptWord> recognise(Session& session, const VideoProject& project, const TranscribeArguments& arguments)
{
    const TranscriptionOptions options{.model = arguments.model,
        .decoding = arguments.careful ? SpeechRecognizer::Decoding::careful : SpeechRecognizer::Decoding::quick};
    return runInterruptibly("Transcribiendo", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return transcribeProject(project, {.store = session.library().store(), .probe = FfprobeMediaProbe()},
            arguments.language, options, progress, stop);
    });
}

void transcribe(Session& session, const TranscribeArguments& arguments)
{
    static constexpr std::array<std::string_view, 2> languages{"es-ES", "en-US"};
    if (!std::ranges::contains(languages, arguments.language)) {
        throw UsageError(std::format("No existe el idioma {}.{} Los idiomas son es-ES y en-US.",
            inQuotes(arguments.language), suggestion(arguments.language, languages)));
    }
    Library& library = session.library();
    const ProjectLock lock(library.store().directory(library.find(arguments.project)));
    VideoProject project = library.load(arguments.project);
    Library::requireEditable(project);
    const SharedList words(recognise(session, project, arguments));

    const VideoProject before = library.load(arguments.project); // Keeps edits that were made meanwhile.
    project = before;
    project.edit.words = words;
    library.saveStep(before, project);

    const auto suggestions = Suggestions::generate(project);
    if (session.json())
        return session.answer(
            JsonValue::Object{{"id", project.id}, {"words", words.size()}, {"suggestions", suggestions.size()}});
    session.print(std::format("Transcrito {}: {} palabras, {} mejoras propuestas (orvo suggest).\n",
        inQuotes(shownTitle(project.title)), words.size(), suggestions.size()));
}

} // namespace

void addTranscribeCommand(CLI::App& app, Session& session)
{
    addCommand<TranscribeArguments>(
        app, session,
        {"transcribe", "Texto",
            "Transcribe lo que se dice, en esta misma máquina.\nLa primera vez descarga el modelo de voz. La transcripción "
            "anterior se reemplaza; los cortes se quedan."},
        [](Command& command, TranscribeArguments& arguments) {
            command.project(arguments.project);
            command.option("--language", "IDIOMA", arguments.language, "es-ES o en-US; es-ES si no se indica.");
            command.option("--model", "NOMBRE", arguments.model,
                "tiny (rápido), base o small (preciso), o uno tuyo en la carpeta de modelos; base si no se indica.");
            command.flag("--careful", arguments.careful,
                "Compara varias lecturas de lo que se oye: tarda hasta el doble y se equivoca menos.");
        },
        transcribe);
}

} // namespace orvo::cli
