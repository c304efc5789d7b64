#pragma once

#include "OrvoVideo/library/DocumentSteps.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/VideoProject.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::cli {

/// Minimum length of an identifier's prefix that serves as a reference.
inline constexpr std::size_t minReference = 4;

/// Whether a text can be an identifier or a prefix of one.
bool looksLikeId(std::string_view reference);

/// The index of the one identifier among `ids` that `reference` names; nullopt if there is none. `what` names their
/// kind in messages ("proyecto"). Throws `UsageError` if the reference is malformed or ambiguous.
std::optional<std::size_t> findById(std::string_view reference, std::span<const Uuid> ids, std::string_view what);

/// Prefixes of the identifiers for lists: 8 characters, or as many as distinguish all of them.
std::vector<std::string> shortIds(std::span<const Uuid> ids);

/// The project library of the commands: finds projects by references and changes them one command at a time.
class Library {
public:
    /// Without a folder, the library of the user.
    explicit Library(std::optional<std::filesystem::path> folder);

    /// The store; creates its folder if needed. Throws as `ProjectStore`.
    const ProjectStore& store();

    /// All readable projects, newest first. Returns empty for a named folder that does not exist, without creating it.
    std::vector<VideoProject> list();

    /// The identifiers of the folders in the library, in order.
    std::vector<Uuid> ids();

    /// The identifier of the project that `reference` names. Throws `UsageError` if it is malformed or ambiguous, and
    /// `NoSuchProject`.
    Uuid find(std::string_view reference);

    /// Throws as `find` and `ProjectStore::load`, and `captureError` for a document of another project.
    VideoProject load(std::string_view reference);

    /// Loads a project, applies `change`, updates its date and saves it as a step to undo, under a lock against other `orvo`
    /// processes. Returns the saved project.
    ///
    /// Throws as `load` and `change`, and `captureError` if it is still being recorded; then nothing is saved.
    VideoProject edit(std::string_view reference, const std::function<void(VideoProject&)>& change);

    /// Dates `after` and saves it as a step to undo, for long work that holds the lock itself. `before` is the stored
    /// project.
    void saveStep(const VideoProject& before, VideoProject& after);

    /// `DocumentSteps::undo` or `redo` of a project, as safely as `edit`.
    DocumentSteps::Moved move(std::string_view reference, DocumentSteps::Moved (*step)(const ProjectStore&, const Uuid&));

    /// Throws `captureError` for a recording that has not ended.
    static void requireEditable(const VideoProject& project);

    /// Throws `std::filesystem::filesystem_error` if the named library does not exist; does not create it.
    void requireExisting() const;

private:
    VideoProject load(const Uuid& id);
    bool exists() const;

    std::optional<std::filesystem::path> m_folder;
    std::optional<ProjectStore> m_store;
};

} // namespace orvo::cli
