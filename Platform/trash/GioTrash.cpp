#include "Platform/trash/Trash.h"

#include "VideoCore/Error.h"

#include <format>
#include <fstream>
#include <gio/gio.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// A trash folder, and the base of the relative paths in it.
struct TrashFolder {
    fs::path path;
    fs::path top;
};

/// The mount point of the file system that holds a path.
fs::path topOf(const fs::path& path)
{
    struct stat here{};
    struct stat above{};
    fs::path top = path;
    while (top.has_relative_path() && ::stat(top.c_str(), &here) == 0 && ::stat(top.parent_path().c_str(), &above) == 0
        && here.st_dev == above.st_dev)
        top = top.parent_path();
    return top;
}

/// The trash folders that desktops use for a file: the user's own, and two on the file's disk.
std::vector<TrashFolder> foldersFor(const fs::path& file)
{
    const fs::path top = topOf(file.parent_path());
    const std::string user = std::to_string(::getuid());
    return {{fs::path(g_get_user_data_dir()) / "Trash", {}}, {top / ".Trash" / user, top}, {top / (".Trash-" + user), top}};
}

struct Entry {
    fs::path info;
    fs::path content;
    std::string deleted; ///< A time that sorts as text.
};

/// Reads a .trashinfo file; returns nullopt unless it describes `file`.
std::optional<Entry> entryFor(const fs::path& info, const TrashFolder& folder, const fs::path& file)
{
    std::ifstream in(info);
    std::optional<fs::path> origin;
    Entry entry{.info = info, .content = folder.path / "files" / info.stem()};
    for (std::string line; std::getline(in, line);) {
        constexpr std::string_view path = "Path=";
        constexpr std::string_view date = "DeletionDate=";
        if (line.starts_with(path)) {
            const std::unique_ptr<char, decltype(&g_free)> plain(
                g_uri_unescape_string(line.c_str() + path.size(), nullptr), g_free);
            if (plain)
                origin = folder.top / plain.get(); // An absolute path replaces the top.
        } else if (line.starts_with(date)) {
            entry.deleted = line.substr(date.size());
        }
    }
    return origin && origin->lexically_normal() == file ? std::optional(entry) : std::nullopt;
}

std::optional<Entry> lastEntryFor(const fs::path& file)
{
    std::optional<Entry> last;
    for (const auto& folder : foldersFor(file)) {
        std::error_code error;
        for (fs::directory_iterator at(folder.path / "info", error), end; !error && at != end; at.increment(error)) {
            const auto entry = entryFor(at->path(), folder, file);
            if (entry && fs::exists(fs::symlink_status(entry->content)) && (!last || last->deleted <= entry->deleted))
                last = entry;
        }
    }
    return last;
}

} // namespace

void moveToTrash(const fs::path& file)
{
    const std::unique_ptr<GFile, decltype(&g_object_unref)> handle(g_file_new_for_path(file.c_str()), g_object_unref);
    GError* failure = nullptr;
    if (g_file_trash(handle.get(), nullptr, &failure))
        return;
    const std::unique_ptr<GError, decltype(&g_error_free)> owner(failure, g_error_free);
    if (g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_NOT_SUPPORTED)) {
        throw captureError(
            std::format("El disco de {} no tiene papelera. Si no lo necesitas, borra tú esa carpeta.", file.string()));
    }
    throw captureError(std::format("{} no se puede mover a la papelera: {}", file.string(), failure->message));
}

void restoreFromTrash(const fs::path& file)
{
    const fs::path place = fs::absolute(file).lexically_normal();
    const auto entry = lastEntryFor(place);
    if (!entry)
        throw captureError(std::format("{} ya no está en la papelera.", place.string()));
    if (fs::exists(fs::symlink_status(place)))
        throw captureError(std::format("Ya hay otra cosa en {}: lo que estaba allí sigue en la papelera.", place.string()));
    fs::rename(entry->content, place);
    std::error_code ignored; // Desktops clean up an info file without content.
    fs::remove(entry->info, ignored);
}

} // namespace orvo
