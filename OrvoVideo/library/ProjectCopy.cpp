#include "OrvoVideo/library/ProjectCopy.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"
#include "VideoMedia/CopyFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// Copies the files of a project's media folder and its subfolders.
void copyMedia(const fs::path& from, const fs::path& to, const ProgressCallback& progress, const std::stop_token& stop)
{
    std::vector<fs::path> files;
    std::uintmax_t all = 0;
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        if (!entry.is_regular_file())
            continue;
        files.push_back(entry.path().lexically_relative(from));
        all += entry.file_size();
    }
    std::uintmax_t done = 0;
    for (const fs::path& file : files) {
        fs::create_directories((to / file).parent_path());
        const auto size = fs::file_size(from / file);
        copyFile(
            from / file, to / file,
            [&](double fraction) {
                if (progress)
                    progress((static_cast<double>(done) + fraction * static_cast<double>(size))
                        / static_cast<double>(std::max<std::uintmax_t>(all, 1)));
            },
            stop);
        done += size;
    }
}

} // namespace

VideoProject copyProject(const ProjectStore& store, const VideoProject& original, const std::string& title,
    const ProgressCallback& progress, const std::stop_token& stop)
{
    if (CaptureSession::isMarkedRecording(original))
        throw captureError("Termina esta grabación antes de duplicarla.");
    VideoProject copy = original;
    copy.id = Uuid::random();
    copy.title = title.empty() ? original.title + " (copia)" : title;
    copy.publication.reset();
    copy.createdAt = copy.updatedAt = now();
    try {
        copyMedia(store.directory(original.id) / ProjectStore::mediaName, store.directory(copy.id) / ProjectStore::mediaName,
            progress, stop);
        store.create(copy); // Last: a folder without a document is not a project.
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(store.directory(copy.id), ignored);
        throw;
    }
    return copy;
}

} // namespace orvo
