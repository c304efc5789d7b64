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

/// The files of a publication, in the state in which they were hashed.
namespace orvo {

/// A file open for reading whose content must not change.
class FrozenFile {
public:
    /// Opens a regular file. Throws file system errors unchanged.
    explicit FrozenFile(const std::filesystem::path& location);

    std::int64_t size() const noexcept { return m_facts.st_size; }

    /// Whether this is the same file with the same content as `other`.
    bool isSame(const struct stat& other) const;
    const struct stat& facts() const noexcept { return m_facts; }

    /// Reads from `offset` until `into` is full or the file ends; returns the number of bytes. Throws file system errors
    /// unchanged.
    std::size_t read(std::int64_t offset, std::span<char> into) const;

    /// Whether the file has not been written since it was opened.
    bool isUnchanged() const;

private:
    std::filesystem::path m_location;
    UniqueFd m_file;
    struct stat m_facts{};
};

/// One file of a publication.
struct PublicationFile {
    std::string path; ///< On the server: "media/…", "project.json" or "hls/…". Unique.
    std::filesystem::path location;
    std::string_view role; ///< "source", "project" or "stream".
    std::int64_t size = 0; ///< Bytes; at least 1.
    std::string sha256; ///< SHA-256 of its content, 64 lower-case hexadecimal digits.
    struct stat facts{}; ///< Its stat when it was hashed.
    /// The open document: saving replaces it by another file while the user edits.
    std::shared_ptr<const FrozenFile> kept;

    /// Opens the file for upload. Throws `captureError` with "El archivo de vídeo ha cambiado durante la subida." when it
    /// has changed since it was hashed, and file system errors unchanged.
    std::shared_ptr<const FrozenFile> open() const;
};

/// Reads at most `into.size()` bytes of a file that must not have changed. Throws as `PublicationFile::open`, also at the
/// end of the file.
std::size_t readUnchanged(const FrozenFile& file, std::int64_t offset, std::span<char> into);

/// Finds and hashes the files of a publication: the project's media folder, the document and the folder `hls`. Skips
/// links and empty files.
///
/// Blocks; memory does not grow with the files. Throws file system errors unchanged, `captureError` for a name that is
/// not UTF-8 and a file that changes meanwhile, and `Cancelled`.
std::vector<PublicationFile> publicationFiles(
    const VideoProject& project, const ProjectStore& store, const std::filesystem::path& hls, const std::stop_token& stop);

/// One digest of all paths and contents, independent of their order.
std::string fingerprint(std::span<const PublicationFile> files);

} // namespace orvo
