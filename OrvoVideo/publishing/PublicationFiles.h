#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoCore/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

/// The files that a publication is made of, as they were when they were hashed.
namespace orvo {

/// A file that is open for reading, whose content must not change.
class FrozenFile {
public:
    /// Opens a regular file. Throws file system errors unchanged.
    explicit FrozenFile(const std::filesystem::path& location);

    std::int64_t size() const noexcept { return m_facts.st_size; }

    /// Whether this is still what the other was: the same file with the same content.
    bool isSame(const struct stat& other) const;
    const struct stat& facts() const noexcept { return m_facts; }

    /// Reads from `offset` on until `into` is full or the file ends; returns how much. Throws file system errors unchanged.
    std::size_t read(std::int64_t offset, std::span<char> into) const;

    /// Whether nothing was written to it since it was opened.
    bool isUnchanged() const;

private:
    std::filesystem::path m_location;
    UniqueFd m_file;
    struct stat m_facts{};
};

/// One file of a publication.
struct PublicationFile {
    std::string path; ///< As the server knows it: "media/…", "project.json" or "hls/…". Unique.
    std::filesystem::path location;
    std::string_view role; ///< "source", "project" or "stream".
    std::int64_t size = 0; ///< Bytes; at least 1.
    std::string sha256; ///< Of its bytes, 64 lower-case hexadecimal digits.
    struct stat facts{}; ///< What the system said of it when it was hashed.
    /// The document stays open: it is saved anew, as another file, while the project is edited.
    std::shared_ptr<const FrozenFile> kept;

    /// Opens it for its upload. Throws `captureError` with "El archivo de vídeo ha cambiado durante la subida." when it is
    /// not what was hashed, file system errors unchanged.
    std::shared_ptr<const FrozenFile> open() const;
};

/// Reads at most `into.size()` bytes of a file that must still be as it was hashed. Throws as `PublicationFile::open`, also
/// when nothing is there to read.
std::size_t readUnchanged(const FrozenFile& file, std::int64_t offset, std::span<char> into);

/// Finds and hashes the files of a publication: everything in the project's media folder, the document, and everything in
/// the folder `hls`. Links and empty files are left out.
///
/// Blocks; memory does not grow with the files. Throws file system errors unchanged, `captureError` for a name that is not
/// UTF-8 and a file that changes meanwhile, and `Cancelled`.
std::vector<PublicationFile> publicationFiles(
    const VideoProject& project, const ProjectStore& store, const std::filesystem::path& hls, const std::stop_token& stop);

/// One digest that stands for all the paths and contents, in whatever order.
std::string fingerprint(std::span<const PublicationFile> files);

} // namespace orvo
