#include "cli/CommandLine.h"

#include "cli/ArgumentValues.h"
#include "cli/CommandGroups.h"
#include "cli/Completion.h"
#include "cli/Help.h"
#include "cli/Manual.h"
#include "cli/Session.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <format>
#include <memory>
#include <ranges>
#include <span>

namespace orvo::cli {

namespace {

constexpr const char* description =
    "Edita y exporta tus vídeos de Orvo Video desde el terminal. Usa la misma biblioteca que la aplicación; "
    "los originales no cambian nunca.";

constexpr const char* footer = R"(Un proyecto se nombra por su identificador o por el comienzo de este, desde 4
caracteres. Los tiempos son segundos de la grabación (83.5) o minutos y
segundos (1:23.5).

Estado de salida
  0    Hecho.
  1    No se ha podido hacer.
  2    Orden o valor incorrecto.
  3    No existe el proyecto.
  130  Cancelado.

«orvo ORDEN --help» explica cada orden.)";

/// Rejects an empty folder: a script with an unset variable must not change the user's own library.
std::string refuseEmpty(const std::string& folder)
{
    if (folder.empty())
        throw UsageError("--library necesita una carpeta.");
    return {};
}

std::unique_ptr<CLI::App> makeApplication(Session& session)
{
    auto app = std::make_unique<CLI::App>(description, "orvo");
    app->formatter(std::make_shared<Help>());
    app->set_help_flag("-h,--help", "Muestra esta ayuda.");
    app->set_version_flag("-V,--version", "orvo " ORVO_VERSION, "Muestra la versión.");
    app->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app->add_option("--library", session.options.library,
           "Carpeta de la biblioteca. Sin ella vale la de la variable ORVO_LIBRARY; si no, la de la aplicación.")
        ->type_name("CARPETA")
        ->check(refuseEmpty);
    app->add_flag("--json", session.options.json, "Responde con un único valor JSON, para programas.")
        ->disable_flag_override();
    app->require_subcommand(1);
    app->fallthrough(); // General options may also follow the command.

    addLibraryCommands(*app, session);
    addSourcesCommand(*app, session);
    addRecordCommand(*app, session);
    addImportCommand(*app, session);
    addOpenCommand(*app, session);
    addRecoverCommand(*app, session);
    addProjectCommands(*app, session);
    addEditCommands(*app, session);
    addElementCommands(*app, session);
    addSetCommand(*app, session);
    addTranscribeCommand(*app, session);
    addTranscriptCommands(*app, session);
    addSuggestionCommands(*app, session);
    addExportCommand(*app, session);
    addPackageCommand(*app, session);
    addPublishCommands(*app, session);
    addSettingsCommand(*app, session);
    addCheckCommand(*app, session);
    addValidateCommand(*app, session);
    app->footer(footer); // Last, because new commands inherit the footer.
    return app;
}

std::vector<std::string> commandNames(const CLI::App& app)
{
    return app.get_subcommands({}) | std::views::transform([](const CLI::App* command) { return command->get_name(); })
        | std::ranges::to<std::vector>();
}

std::vector<std::string> optionNames(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* owner : {&app, app.get_parent()}) {
        if (!owner)
            continue;
        for (const CLI::Option* option : owner->get_options()) {
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
        }
    }
    return names;
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& names)
{
    const std::vector<std::string_view> views(names.begin(), names.end());
    return suggestion(word, views);
}

/// The option with a missing or surplus value; null for other errors. The parser names it only in its message.
const CLI::Option* wrongValue(const CLI::App& command, const CLI::ParseError& error)
{
    if (error.get_name() != "ArgumentMismatch")
        return nullptr;
    const std::string_view message = error.what();
    for (const CLI::App* owner : {&command, command.get_parent()}) {
        for (const CLI::Option* option : owner ? owner->get_options() : std::vector<const CLI::Option*>()) {
            const std::string name = option->get_name();
            if (message.starts_with(name) || message.starts_with(name.substr(name.find_first_not_of('-'))))
                return option;
        }
    }
    return nullptr;
}

/// Describes a parse error in Spanish. The messages of the parser are English, so this reads the state that it left.
std::string explain(const CLI::App& app, const CLI::ParseError& error)
{
    const auto parsed = app.get_subcommands();
    const CLI::App& command = parsed.empty() ? app : *parsed.front();
    const auto left = app.remaining(true);
    const auto unknown = std::ranges::find_if(left, [](const std::string& word) { return word.starts_with('-'); });
    if (unknown != left.end()) {
        const std::string name = unknown->substr(0, unknown->find('='));
        return std::format("No existe la opción {}.{}", inQuotes(name), didYouMean(name, optionNames(command)));
    }
    if (const auto* option = wrongValue(command, error))
        return std::format("La opción {} {}.", option->get_name(),
            option->get_expected_max() == 0 ? "no lleva ningún valor" : "necesita un valor");
    if (parsed.empty()) {
        return left.empty()
            ? "Falta la orden."
            : std::format("No existe la orden {}.{}", inQuotes(left.front()), didYouMean(left.front(), commandNames(app)));
    }
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() && option->get_required() && option->count() == 0)
            return std::format("Falta {}.", option->get_name());
    }
    if (!left.empty())
        return std::format("Sobra {}.", inQuotes(left.front()));
    return "No se entiende la orden.";
}

void tell(std::string_view message)
{
    std::string text = Terminal::toned(Terminal::Tone::bad, "orvo:", Terminal::Stream::error) + " ";
    // File names and the output of other programs may contain any bytes.
    for (const auto line : message | std::views::split('\n'))
        text += printable(std::string_view(line)) + "\n";
    std::fputs(text.c_str(), stderr);
}

/// Parses the words and runs their command.
void parseAndRun(CLI::App& app, Session& session, std::vector<std::string> words)
{
    // The parser would treat these as options: it recognises a negative number by the digit after the minus sign.
    for (std::string& word : words | std::views::take_while([](const std::string& word) { return word != "--"; })) {
        if ((word.starts_with("-.") || word.starts_with("-,")) && parseNumber(word))
            word.insert(1, "0");
    }
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    std::ranges::reverse(words); // The parser takes them from the back.
    try {
        app.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        session.print(app.help());
    } catch (const CLI::CallForVersion&) {
        session.print("orvo " ORVO_VERSION "\n");
    } catch (const CLI::ParseError& error) {
        const auto parsed = app.get_subcommands();
        const CLI::App& command = parsed.empty() ? app : *parsed.front();
        throw UsageError(explain(app, error) + "\nUso: " + usage(command) + "\nMás: orvo "
            + (parsed.empty() ? "" : command.get_name() + " ") + "--help");
    }
}

} // namespace

ExitStatus runCommandLine(std::vector<std::string> words)
{
    try {
        Session session;
        const auto app = makeApplication(session);
        // For shells and packages, not for users.
        if (!words.empty() && words.front() == "--complete") {
            if (const auto option = std::ranges::find(words, "--library");
                std::ranges::distance(option, words.end()) > 2 && std::filesystem::exists(*std::ranges::next(option)))
                session.options.library = *std::ranges::next(option);
            session.print(completions(*app, session.library(), std::span(words).subspan(1)));
            return ExitStatus::done;
        }
        if (words == std::vector<std::string>{"--manual"}) {
            session.print(manualPage(*app));
            return ExitStatus::done;
        }
        if (words == std::vector<std::string>{"--reference"}) {
            session.print(referencePage(*app));
            return ExitStatus::done;
        }
        parseAndRun(*app, session, std::move(words));
        return ExitStatus::done;
    } catch (const UsageError& error) {
        tell(error.what());
        return ExitStatus::wrongUse;
    } catch (const NoSuchProject& error) {
        tell(error.what());
        return ExitStatus::noSuchProject;
    } catch (const Cancelled&) {
        tell(Cancelled::text);
        return ExitStatus::cancelled;
    } catch (const std::exception& error) {
        tell(describe(error));
        return ExitStatus::failed;
    }
}

} // namespace orvo::cli
