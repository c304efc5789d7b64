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

/// Builds the key of a part of a film: the digest of everything that it depends on.
class PieceKey {
public:
    /// `version` identifies the ffmpeg in use.
    explicit PieceKey(std::string_view version) { add(version); }

    /// Adds a text.
    void add(std::string_view text);
    /// Adds each of the texts.
    void add(const Arguments& arguments);
    /// Adds the path, the size and the modification time of a file.
    void addFile(const std::filesystem::path& file);

    /// Call it last, once.
    std::string finish() { return m_sum.finish(); }

private:
    Sha256 m_sum;
};

/// Keeps parts of films between exports, each under a key that stands for everything that it shows.
///
/// Lies in the user's cache folder, where several programs may use it and anybody may remove it. A file's name has its key
/// and the checksum of its content: a damaged one is never returned. Usable from any thread. No function throws: a cache
/// that cannot be used has nothing and keeps nothing.
class PieceCache {
public:
    static constexpr std::uintmax_t defaultLimit = 5'000'000'000; ///< Bytes.

    /// "OrvoVideo/pieces" in $XDG_CACHE_HOME or ~/.cache; empty if neither is known.
    static std::filesystem::path defaultFolder();

    explicit PieceCache(std::filesystem::path folder = defaultFolder());

    /// Puts the content kept under `key`, a `PieceKey`, into the new file `target`, as a link where possible: do not write
    /// to it. Returns whether it is there, whole and unchanged since it was kept.
    bool take(const std::string& key, const std::filesystem::path& target);

    /// Keeps a file under `key`. Do not write to it any more. Stops keeping after the first failure.
    void keep(const std::string& key, const std::filesystem::path& file);

    /// Removes those not used for the longest time until the others take at most `limit` bytes, and what killed programs
    /// left behind. Does nothing while another program does it.
    void trim(std::uintmax_t limit = defaultLimit);

private:
    std::filesystem::path m_folder;
    std::mutex m_mutex;
    std::multimap<std::string, std::string> m_names; ///< By key; may be gone meanwhile.
    bool m_keeps = true;
};

} // namespace orvo
