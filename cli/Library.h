#pragma once

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

/// An identifier, or at least this many characters of its beginning when no other begins so.
inline constexpr std::size_t shortestReference = 4;

/// Whether a text can be an identifier or the beginning of one.
bool looksLikeId(std::string_view reference);

/// The index of the one identifier among `ids` that `reference` names; nothing when there is none. `what` says in messages
/// what they identify ("proyecto"). Throws `UsageError` when the reference is none or fits several.
std::optional<std::size_t> findById(std::string_view reference, std::span<const Uuid> ids, std::string_view what);

/// The beginnings of the identifiers as lists show them: 8 characters, or as many as tell all of them apart.
std::vector<std::string> shortIds(std::span<const Uuid> ids);

/// The project library as the commands see it: projects are named by references, and changed one command at a time.
class Library {
public:
    /// Without a folder the user's own library.
    explicit Library(std::optional<std::filesystem::path> folder);

    /// The store; its folder is made when needed. Throws what `ProjectStore` throws.
    const ProjectStore& store();

    /// Every readable project, newest first. A named folder that is not there has none, and is not made.
    std::vector<VideoProject> list();

    /// The identifiers that folders of the library are named by, in order.
    std::vector<Uuid> ids();

    /// The identifier of the project that `reference` names.
    /// Throws `UsageError` for a text that is no reference or an ambiguous one, `NoSuchProject`.
    Uuid find(std::string_view reference);

    /// Throws as `find`, `ProjectStore::load`, and `captureError` for a document that belongs to another project.
    VideoProject load(std::string_view reference);

    /// Loads a project, lets `change` change it, dates it and saves it, while no other `orvo` can. Returns it as saved.
    ///
    /// Throws as `load`, what `change` throws, and `captureError` for a recording that has not ended; then nothing is saved.
    VideoProject edit(std::string_view reference, const std::function<void(VideoProject&)>& change);

    /// Throws `captureError` for a recording that has not ended.
    static void requireEditable(const VideoProject& project);

    /// Throws `std::filesystem::filesystem_error` when a library was named that is not there, and makes none.
    void requireExisting() const;

private:
    VideoProject load(const Uuid& id);
    bool exists() const;

    std::optional<std::filesystem::path> m_folder;
    std::optional<ProjectStore> m_store;
};

} // namespace orvo::cli
