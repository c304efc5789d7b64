#pragma once

#include "VideoMedia/Arguments.h"
#include "VideoMedia/Sha256.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace orvo {

/// Builds the key of a part of a film: a digest of everything that the part depends on.
class PieceKey {
public:
    /// `version` identifies the ffmpeg in use.
    explicit PieceKey(std::string_view version) { add(version); }

    /// Adds one text.
    void add(std::string_view text);
    /// Adds several texts.
    void add(const Arguments& arguments);
    /// Adds the path, the size and the modification time of a file.
    void addFile(const std::filesystem::path& file);

    /// The key. Call once, last.
    std::string finish() { return m_sum.finish(); }

private:
    Sha256 m_sum;
};

/// Keeps parts of films between exports, each under a `PieceKey`.
///
/// The files are in the user's cache folder; several programs may use them, and the user may delete them at any time. A
/// file's name has its key and the checksum of its content, so that damaged files are never returned. Usable from any
/// thread. No function throws: a cache without a usable folder is empty and stores nothing.
class PieceCache {
public:
    static constexpr std::uintmax_t defaultLimit = 5'000'000'000; ///< Bytes.

    /// "OrvoVideo/pieces" in $XDG_CACHE_HOME or ~/.cache; empty if neither is known.
    static std::filesystem::path defaultFolder();

    explicit PieceCache(std::filesystem::path folder = defaultFolder());

    /// Copies the content kept under `key` to the new file `target`, as a hard link where possible: do not write to it.
    /// Returns whether the cache had it, undamaged.
    bool take(const std::string& key, const std::filesystem::path& target);

    /// Keeps a file under `key`. Do not write to the file afterwards. After the first failure, keeps no more files.
    void keep(const std::string& key, const std::filesystem::path& file);

    /// Removes the least recently used files until the others take at most `limit` bytes, and files of killed programs.
    /// Does nothing while another program trims.
    void trim(std::uintmax_t limit = defaultLimit);

private:
    std::filesystem::path m_folder;
    std::mutex m_mutex;
    std::multimap<std::string, std::string> m_names; ///< By key; the files may have been removed since.
    bool m_keeps = true;
};

} // namespace orvo
