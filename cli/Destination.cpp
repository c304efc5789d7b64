#include "cli/Destination.h"

#include "VideoCore/Error.h"
#include "cli/TextColumns.h"

#include <cerrno>
#include <cstdio>
#include <format>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace orvo::cli {

namespace fs = std::filesystem;

fs::path destination(const fs::path& file, const ProjectStore& store)
{
    const auto fail = [](int code, const fs::path& path) {
        throw fs::filesystem_error("write", path, std::error_code(code, std::system_category()));
    };
    const fs::path place = fs::absolute(file).lexically_normal();
    if (!place.has_filename() || fs::is_directory(place))
        fail(EISDIR, place);
    if (!fs::is_directory(place.parent_path()))
        fail(fs::exists(place.parent_path()) ? ENOTDIR : ENOENT, place.parent_path());
    const fs::path inLibrary = fs::weakly_canonical(place).lexically_relative(fs::weakly_canonical(store.root()));
    if (!inLibrary.empty() && Uuid::parse(inLibrary.begin()->native()))
        throw captureError(std::format("{} está dentro de un proyecto. Elige otra carpeta.", inQuotes(place.string())));
    return place;
}

std::optional<bool> agreed(const std::string& question)
{
    if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDERR_FILENO) != 1)
        return std::nullopt;
    std::fprintf(stderr, "%s [s/N] ", question.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return !answer.empty() && std::string_view("sSyY").contains(answer.front());
}

bool mayReplace(const fs::path& file, bool force)
{
    return force || !fs::exists(file) || agreed(printable(file.string()) + " ya existe. ¿Reemplazarlo?").value_or(true);
}

} // namespace orvo::cli
