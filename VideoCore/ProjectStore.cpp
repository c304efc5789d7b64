#include "VideoCore/ProjectStore.h"

#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/ResolveLinks.h"
#include "VideoCore/UserFolders.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

VideoProject loadFrom(const fs::path& folder, DocumentDecoder& decoder, std::string& buffer)
{
    readFile(folder / ProjectStore::documentName, buffer, ProjectStore::maxDocumentBytes);
    auto project = decoder.decode(buffer);
    if (project.schemaVersion != VideoProject::currentSchemaVersion)
        throw captureError("Este proyecto requiere una versión más reciente.");
    return project;
}

} // namespace

ProjectStore::ProjectStore(const std::optional<fs::path>& root)
    : m_root(fs::absolute(root.value_or(dataFolder() / "Projects")).lexically_normal())
{
    if (!m_root.has_filename())
        m_root = m_root.parent_path();
    fs::create_directories(m_root.parent_path());
    // Creates it with these permissions, so that others can never open it.
    if (::mkdir(m_root.c_str(), S_IRWXU) != 0 && (errno != EEXIST || !fs::is_directory(m_root)))
        throw fs::filesystem_error("mkdir", m_root, std::error_code(errno, std::system_category()));
    fs::permissions(m_root, fs::perms::owner_all);
}

fs::path ProjectStore::directory(const Uuid& id) const
{
    return m_root / id.text();
}

void ProjectStore::create(const VideoProject& project) const
{
    fs::create_directories(directory(project.id) / mediaName);
    save(project);
    flushFolder(m_root);
}

void ProjectStore::save(const VideoProject& project) const
{
    const fs::path file = directory(project.id) / documentName;
    const std::string document = encodeDocument(project);
    if (document.size() > maxDocumentBytes)
        throw fs::filesystem_error("write", file, make_error_code(std::errc::file_too_large));
    writeFileAtomically(file, document);
}

VideoProject ProjectStore::load(const Uuid& id) const
{
    DocumentDecoder decoder;
    std::string buffer;
    return loadFrom(directory(id), decoder, buffer);
}

std::vector<VideoProject> ProjectStore::list() const
{
    std::vector<Uuid> ids;
    std::error_code error;
    for (fs::directory_iterator entry(m_root, error), end; !error && entry != end; entry.increment(error)) {
        const fs::path name = entry->path().filename();
        // An identifier in lower case would be another folder, which `load` never reads.
        if (const auto id = Uuid::parse(name.native()); id && id->text() == name)
            ids.push_back(*id);
    }

    std::vector<std::optional<VideoProject>> loaded(ids.size());
    std::atomic<std::size_t> next = 0;
    const auto loadSome = [&] {
        for (std::size_t i = next++; i < ids.size();) {
            try {
                DocumentDecoder decoder;
                std::string buffer;
                for (; i < ids.size(); i = next++)
                    loaded[i] = loadFrom(directory(ids[i]), decoder, buffer);
            } catch (const std::exception&) {
                i = next++; // Skips the project; its folder stays.
            }
        }
    };
    {
        const std::size_t helpers = std::min<std::size_t>(std::max(1U, std::thread::hardware_concurrency()), ids.size());
        std::vector<std::jthread> threads;
        while (threads.size() + 1 < helpers) {
            try {
                threads.emplace_back(loadSome);
            } catch (const std::system_error&) {
                break; // No more threads available: the running ones do the work.
            }
        }
        loadSome();
    }

    std::vector<VideoProject> projects;
    projects.reserve(loaded.size());
    for (auto& project : loaded) {
        if (project)
            projects.push_back(std::move(*project));
    }
    std::ranges::stable_sort(projects, std::ranges::greater(), &VideoProject::createdAt);
    return projects;
}

fs::path ProjectStore::mediaURL(const VideoProject& project, std::string_view file) const
{
    const auto refuse = [&] {
        throw fs::filesystem_error("media", fs::path(file), std::make_error_code(std::errc::invalid_argument));
    };
    if (file.starts_with('/') || file.contains('\0'))
        refuse();
    const fs::path base = resolveLinks(directory(project.id));
    const fs::path candidate = resolveLinks((base / fs::path(file)).lexically_normal());
    if (!candidate.native().starts_with(base.native() + "/"))
        refuse();
    return candidate;
}

} // namespace orvo
