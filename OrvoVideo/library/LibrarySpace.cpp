#include "OrvoVideo/library/LibrarySpace.h"

#include "OrvoVideo/library/DocumentSteps.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/FileLock.h"

#include <exception>
#include <set>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace orvo::LibrarySpace {

namespace fs = std::filesystem;

namespace {

/// The disk space of a file, which is less than its length for sparse files.
std::uintmax_t bytesOnDisk(const fs::path& file)
{
    struct stat facts{};
    constexpr std::uintmax_t block = 512; // The unit of st_blocks.
    return ::lstat(file.c_str(), &facts) == 0 ? static_cast<std::uintmax_t>(facts.st_blocks) * block : 0;
}

/// Whether a path is a work folder: its name is a purpose, a hyphen and an identifier.
bool isWorkFolder(const fs::path& path)
{
    constexpr std::size_t idLength = 36;
    const std::string name = path.filename().string();
    return name.size() > idLength + 1 && name[name.size() - idLength - 1] == '-'
        && Uuid::parse(std::string_view(name).substr(name.size() - idLength)) && fs::is_directory(path);
}

/// Adds the files that a document names. Returns false when it cannot be read.
bool addNamed(const fs::path& document, const fs::path& folder, std::set<fs::path>& named)
{
    try {
        const auto project = decodeDocument(readFile(document));
        for (const auto& track : project.tracks)
            named.insert((folder / track.file).lexically_normal());
        for (const auto& overlay : project.edit.overlays) {
            if (overlay.kind == Overlay::Kind::image)
                named.insert((folder / overlay.content).lexically_normal());
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// The files of the media folder that no version of the document names. Returns empty when that is uncertain.
std::vector<fs::path> unusedMedia(const ProjectStore& store, const Uuid& id)
{
    const fs::path folder = store.directory(id);
    try {
        const auto project = store.load(id);
        if (project.state != ProjectState::ready || CaptureSession::recordingProcess(folder))
            return {};
    } catch (const std::exception&) {
        return {};
    }
    std::set<fs::path> named;
    for (const auto& versions : {folder, folder / DocumentSteps::folderName}) {
        if (!fs::exists(versions))
            continue;
        for (const auto& entry : fs::directory_iterator(versions)) {
            if (entry.path().extension() == ".json" && entry.path().filename() != CaptureSession::fileName
                && !addNamed(entry.path(), folder, named))
                return {};
        }
    }
    std::vector<fs::path> unused;
    for (const auto& entry : fs::recursive_directory_iterator(folder / ProjectStore::mediaName)) {
        if (entry.is_regular_file() && !entry.is_symlink() && !named.contains(entry.path().lexically_normal()))
            unused.push_back(entry.path());
    }
    return unused;
}

/// The paths of a kind; valid while the locks are held.
struct Found {
    std::vector<fs::path> paths;
    std::vector<FileLock> locks;
};

Found find(const ProjectStore& store, const Uuid& id, Freeable kind)
{
    Found found;
    const fs::path folder = store.directory(id);
    const auto addFolder = [&](const fs::path& path) {
        if (auto lock = tryLockFolder(path)) {
            found.paths.push_back(path);
            found.locks.push_back(std::move(*lock));
        }
    };
    try {
        switch (kind) {
        case Freeable::publication:
            addFolder(folder / "publication");
            break;
        case Freeable::leftovers:
            for (const auto& entry : fs::directory_iterator(folder)) {
                if (isWorkFolder(entry.path()))
                    addFolder(entry.path());
            }
            break;
        case Freeable::originals:
            if (auto lock = tryLockFolder(folder)) { // `orvo` holds it during an import until the document names the copy.
                found.locks.push_back(std::move(*lock));
                found.paths = unusedMedia(store, id);
            }
            break;
        }
    } catch (const fs::filesystem_error&) {
        return {}; // The folder has disappeared.
    }
    return found;
}

std::uintmax_t bytesOf(const std::vector<fs::path>& paths)
{
    std::uintmax_t bytes = 0;
    for (const auto& path : paths)
        bytes += LibrarySpace::bytesOf(path);
    return bytes;
}

} // namespace

std::string_view textOf(Freeable kind)
{
    constexpr std::array<std::string_view, everyKind.size()> texts{"publication", "originals", "leftovers"};
    return texts[static_cast<std::size_t>(kind)];
}

std::string_view labelOf(Freeable kind)
{
    constexpr std::array<std::string_view, everyKind.size()> labels{
        "Vídeos preparados para publicar", "Archivos que ningún vídeo usa", "Restos de trabajos interrumpidos"};
    return labels[static_cast<std::size_t>(kind)];
}

std::uintmax_t bytesOf(const fs::path& path)
{
    std::uintmax_t bytes = bytesOnDisk(path);
    std::error_code error;
    for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error))
        bytes += bytesOnDisk(entry->path());
    return bytes;
}

Usage measure(const ProjectStore& store, const Uuid& id)
{
    Usage usage{.project = id, .bytes = bytesOf(store.directory(id))};
    for (const auto kind : everyKind)
        usage.freeable[static_cast<std::size_t>(kind)] = bytesOf(find(store, id, kind).paths);
    return usage;
}

std::uintmax_t free(const ProjectStore& store, const Uuid& id, Freeable kind)
{
    const auto found = find(store, id, kind);
    std::uintmax_t bytes = 0;
    for (const auto& path : found.paths) {
        const auto size = bytesOf(path);
        std::error_code error;
        fs::remove_all(path, error);
        if (!error)
            bytes += size;
    }
    return bytes;
}

} // namespace orvo::LibrarySpace
