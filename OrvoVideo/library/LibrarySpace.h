#pragma once

#include "VideoCore/ProjectStore.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

/// The disk space that the library uses, and how much of it can be freed. Blocking calls for any thread; files that
/// disappear meanwhile cause no error.
namespace orvo::LibrarySpace {

/// Files that can be rendered again or are no longer needed.
enum class Freeable : std::uint8_t {
    publication, ///< The movie and the package rendered for publishing; the next publication renders them again.
    originals, ///< Unused files in the media folder: the raw files of prepared recordings, removed clips and images.
    leftovers, ///< Work folders of killed processes.
};

/// "publication", "originals" or "leftovers", and its Spanish label.
std::string_view textOf(Freeable kind);
std::string_view labelOf(Freeable kind);
inline constexpr std::array<Freeable, 3> everyKind{Freeable::publication, Freeable::originals, Freeable::leftovers};

struct Usage {
    Uuid project;
    std::uintmax_t bytes = 0; ///< Of everything in the project's folder.
    std::array<std::uintmax_t, everyKind.size()> freeable{}; ///< Bytes of each kind, in the order of `everyKind`.
};

/// Measures a project on disk.
Usage measure(const ProjectStore& store, const Uuid& id);
/// The disk space of a file or of everything in a folder, in bytes.
std::uintmax_t bytesOf(const std::filesystem::path& folder);

/// Removes the files of a kind and returns the number of bytes freed. Keeps files in use: folders that a running program
/// has locked, and media files that any version of the document names. Keeps all media files of a project whose document
/// cannot be read or whose recording is not prepared.
std::uintmax_t free(const ProjectStore& store, const Uuid& id, Freeable kind);

} // namespace orvo::LibrarySpace
