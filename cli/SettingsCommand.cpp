#include "Platform/keychain/Keychain.h"
#include "Platform/settings/StoredSettings.h"
#include "VideoMedia/ProcessRunner.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/SecretInput.h"
#include "cli/ServerAccess.h"
#include "cli/TextColumns.h"

#include <cstdlib>
#include <format>
#include <optional>

namespace orvo::cli {

namespace {

struct SettingsArguments {
    std::string server;
    std::string client;
    bool credential = false;
    bool check = false;
    bool connectDrive = false;
};

/// Where the credential is stored: "environment", "keychain" or "none". Does not ask for a password.
std::string credentialState()
{
    if (const char* given = std::getenv(ServerAccess::credentialVariable); given && *given)
        return "environment";
    try {
        Keychain::load(ServerAccess::credentialAccount, Keychain::Interaction::forbidden);
        return "keychain";
    } catch (const Error&) {
        return "none";
    }
}

std::string_view stateText(std::string_view state)
{
    if (state == "environment")
        return "en la variable ORVO_ADMIN_TOKEN";
    return state == "keychain" ? "en el llavero" : "no se puede leer del llavero";
}

void storeServer(const std::string& server)
{
    const Publisher accepted(server, {}); // Throws for an invalid address.
    StoredSettings::setText(StoredSettings::serverURL, accepted.base());
}

ServerStatus askServer()
{
    return runInterruptibly("Comprobando",
        [](const ProgressCallback&, const std::stop_token& stop) { return ServerAccess::connect(stop)->status(stop); });
}

void configureDrive(const std::string& client)
{
    const std::string secret = readSecret("Secreto del cliente OAuth");
    runInterruptibly("Guardando", [&](const ProgressCallback&, const std::stop_token& stop) {
        ServerAccess::connect(stop)->configureDrive(client, secret, stop);
    });
}

std::string driveAuthorisation()
{
    const auto address = runInterruptibly("Conectando", [](const ProgressCallback&, const std::stop_token& stop) {
        return ServerAccess::connect(stop)->driveAuthorisation(stop);
    });
    return address.value_or("");
}

void settings(Session& session, const SettingsArguments& arguments)
{
    if (arguments.credential && !arguments.client.empty())
        throw UsageError("--credential y --oauth-client leen un secreto cada una: úsalas por separado.");
    if (!arguments.server.empty())
        storeServer(arguments.server);
    if (arguments.credential)
        Keychain::save(readSecret("Credencial de administración"), ServerAccess::credentialAccount);
    if (!arguments.client.empty())
        configureDrive(arguments.client);
    std::optional<ServerStatus> status;
    if (arguments.check)
        status = askServer();
    std::optional<std::string> authorisation;
    if (arguments.connectDrive)
        authorisation = driveAuthorisation();

    const std::string server = StoredSettings::text(StoredSettings::serverURL).value_or("");
    const std::string credential = credentialState();
    const bool hasFfmpeg = ProcessRunner::ffmpeg().has_value();
    if (session.json()) {
        JsonValue::Object answer{{"server", server}, {"credential", credential}, {"ffmpeg", hasFfmpeg},
            {"projects", session.library().store().root().string()}, {"settings", StoredSettings::file().string()}};
        if (status)
            answer.emplace_back("driveConnected", status->isConnected && !status->storesByItself());
        if (status && status->storage) {
            answer.emplace_back("connected", status->isConnected);
            answer.emplace_back("storage", *status->storage);
        }
        if (authorisation)
            answer.emplace_back("authorisation", *authorisation);
        return session.answer(answer);
    }
    std::string text = std::format("Servidor: {}\nCredencial: {}\nFFmpeg: {}\nProyectos: {}\nAjustes: {}\n",
        server.empty() ? "ninguno" : printable(server), stateText(credential), hasFfmpeg ? "disponible" : "no encontrado",
        printable(session.library().store().root().string()), printable(StoredSettings::file().string()));
    if (status)
        text += status->text() + "\n";
    if (authorisation)
        text += authorisation->empty() ? "El servidor no da ninguna dirección.\n"
                                       : std::format("Autoriza Drive en el navegador: {}\n", printable(*authorisation));
    session.print(text);
}

} // namespace

void addSettingsCommand(CLI::App& app, Session& session)
{
    addCommand<SettingsArguments>(
        app, session,
        {"settings", "Ajustes",
            "Enseña y cambia los ajustes de publicación.\nSon los mismos que los de la aplicación. Los secretos se piden en "
            "el "
            "terminal o se leen de la entrada estándar; nunca van en la línea de órdenes. Donde no hay llavero, la variable "
            "ORVO_ADMIN_TOKEN lleva la credencial."},
        [](Command& command, SettingsArguments& arguments) {
            command.option("--server", "DIRECCIÓN", arguments.server, "El servidor de publicación (https://…).");
            command.flag(
                "--credential", arguments.credential, "Pide la credencial de administración y la guarda en el llavero.");
            command.flag("--check", arguments.check, "Pregunta al servidor si puede guardar vídeos.");
            command.option("--oauth-client", "ID", arguments.client,
                "Pide el secreto de este cliente OAuth y los envía al servidor, que los guarda.");
            command.flag("--connect-drive", arguments.connectDrive, "Da la dirección en la que autorizar Google Drive.");
        },
        settings);
}

} // namespace orvo::cli
