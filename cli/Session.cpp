#include "cli/Session.h"

#include "cli/ExitStatus.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <format>
#include <system_error>

namespace orvo::cli {

Library& Session::library()
{
    if (m_library)
        return *m_library;
    std::string folder = options.library;
    if (!folder.empty() && !std::filesystem::exists(folder)) {
        throw captureError(
            std::format("No existe la biblioteca {}. Comprueba el nombre; para empezar una nueva, crea antes la carpeta.",
                inQuotes(folder)));
    }
    if (const char* variable = std::getenv("ORVO_LIBRARY"); folder.empty() && variable)
        folder = variable;
    return m_library.emplace(folder.empty() ? std::nullopt : std::optional<std::filesystem::path>(folder));
}

void Session::print(std::string_view text)
{
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return;
    const std::system_error error(errno, std::system_category());
    throw captureError("No se puede escribir la respuesta: " + describe(error) + ".");
}

void Session::note(std::string_view sentence) const
{
    if (!json())
        std::fprintf(stderr, "%s\n", Terminal::toned(Terminal::Tone::quiet, sentence, Terminal::Stream::error).c_str());
}

} // namespace orvo::cli
