#pragma once

#include "VideoCore/ProjectStore.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

/// What the library takes of the disk, and what of that can be freed. Blocking calls for any thread; none fails for a file
/// that goes meanwhile.
namespace orvo::LibrarySpace {

/// What can be made again, or is of no use any more.
enum class Freeable : std::uint8_t {
    publication, ///< The film and the package that were rendered for publishing; publishing again renders them again.
    originals, ///< Files in the media folder that nothing uses: what a recording was prepared from, removed clips and
               ///< images.
    leftovers, ///< Work folders of programs that were killed.
};

/// "publication", "originals" and "leftovers", and how they are called in Spanish.
std::string_view textOf(Freeable kind);
std::string_view labelOf(Freeable kind);
inline constexpr std::array<Freeable, 3> everyKind{Freeable::publication, Freeable::originals, Freeable::leftovers};

struct Usage {
    Uuid project;
    std::uintmax_t bytes = 0; ///< Of everything in the project's folder.
    std::array<std::uintmax_t, everyKind.size()> freeable{}; ///< Bytes of each kind, in the order of `everyKind`.
};

/// Measures a project as it lies on disk.
Usage measure(const ProjectStore& store, const Uuid& id);
/// Bytes of everything in a project's folder.
std::uintmax_t bytesOf(const std::filesystem::path& folder);

/// Removes what is freeable of a kind and returns how many bytes that freed. What is in use stays: a folder that a running
/// program has locked, a file that the project's document or another version of it names, and everything of a project whose
/// document cannot be read or whose recording was not prepared.
std::uintmax_t free(const ProjectStore& store, const Uuid& id, Freeable kind);

} // namespace orvo::LibrarySpace
