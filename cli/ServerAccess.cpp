#include "cli/ServerAccess.h"

#include "OrvoVideo/publishing/Sharing.h"
#include "Platform/keychain/Keychain.h"
#include "Platform/settings/StoredSettings.h"
#include "VideoCore/Error.h"

#include <cstdlib>
#include <format>
#include <unistd.h>

namespace orvo::cli::ServerAccess {

std::string address()
{
    const auto stored = StoredSettings::text(StoredSettings::serverURL);
    if (!stored || stored->empty())
        throw captureError("No hay servidor de publicación. Indica el tuyo: orvo settings --server https://…");
    refuseUser(*stored);
    return serverAddress(*stored);
}

std::string credential(const std::stop_token& stop)
{
    if (const char* given = std::getenv(credentialVariable); given && *given)
        return given;
    const auto interaction = ::isatty(STDIN_FILENO) != 0 ? Keychain::Interaction::allowed : Keychain::Interaction::forbidden;
    try {
        return Keychain::load(credentialAccount, interaction, stop);
    } catch (const Error& error) {
        // The message names buttons of the windows.
        throw captureError(
            std::format("{} En el terminal la guarda orvo settings --credential; también vale la variable {}.", error.what(),
                credentialVariable));
    }
}

std::shared_ptr<Publisher> connect(const std::stop_token& stop)
{
    const std::string server = address();
    return std::make_shared<Publisher>(server, credential(stop));
}

} // namespace orvo::cli::ServerAccess
