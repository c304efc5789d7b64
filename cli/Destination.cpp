#include "cli/Destination.h"

#include "VideoCore/Error.h"
#include "cli/TextColumns.h"

#include <cerrno>
#include <format>
#include <system_error>

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

} // namespace orvo::cli
