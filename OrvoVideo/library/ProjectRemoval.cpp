#include "OrvoVideo/library/ProjectRemoval.h"

#include "Platform/trash/Trash.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/FileLock.h"

#include <filesystem>
#include <format>

namespace orvo::ProjectRemoval {

namespace fs = std::filesystem;

namespace {

/// Whether a program edits, renders, prepares or publishes a project: each holds a lock on the folder or a subfolder.
bool isInUse(const fs::path& folder)
{
    if (isFolderLocked(folder))
        return true;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (isFolderLocked(entry->path()))
            return true;
    }
    return false;
}

} // namespace

std::optional<std::string> refusal(const VideoProject& project, const ProjectStore& store, bool thisProcessRecords)
{
    const fs::path folder = store.directory(project.id);
    if (CaptureSession::isMarkedRecording(project)
        && CaptureSession::isAlive(CaptureSession::recordingProcess(folder), thisProcessRecords))
        return std::format("«{}» se está grabando: termina antes la grabación.", project.title);
    if (isInUse(folder))
        return std::format(
            "«{}» se está exportando, preparando o publicando: espera a que termine, o cancélalo.", project.title);
    return std::nullopt;
}

std::optional<std::string> warning(const VideoProject& project)
{
    if (project.publication)
        return std::format("«{}» está publicado; su vídeo seguirá en el servidor.", project.title);
    if (project.state != ProjectState::ready && project.state != ProjectState::importFailed)
        return std::format("«{}» es una grabación sin preparar.", project.title);
    return std::nullopt;
}

void moveToTrash(const Uuid& id, const ProjectStore& store)
{
    orvo::moveToTrash(store.directory(id));
}

void restore(const Uuid& id, const ProjectStore& store)
{
    restoreFromTrash(store.directory(id));
}

} // namespace orvo::ProjectRemoval
