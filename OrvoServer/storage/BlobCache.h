#pragma once

#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/FileSource.h"

#include <condition_variable>
#include <list>
#include <map>
#include <mutex>

namespace orvo::server {

/// Files of a remote store on the local disk: each is fetched whole and once, however many ask for it at the same time, and
/// the ones not used for longest make room, also on a disk that others fill.
class BlobCache final : public FileSource {
public:
    /// Goes on with the files that an earlier run left in `folder`. Throws file system errors.
    BlobCache(BlobStore& store, std::filesystem::path folder, std::uint64_t maxBytes, Metrics& metrics);

    std::shared_ptr<const OpenFile> openIfHere(const std::string& key, std::uint64_t size) override;
    /// While another thread fetches the same file, waits for it and shares its failure, but not its cancellation.
    std::shared_ptr<const OpenFile> open(const std::string& key, std::uint64_t size, const std::stop_token& stop) override;

    std::uint64_t usedBytes() const;

private:
    struct Entry {
        std::uint64_t size = 0;
        std::list<std::string>::iterator use;
    };
    struct Fetch {
        bool isDone = false;
        bool isCancelled = false; ///< By the one that fetched; the others fetch anew.
        std::exception_ptr failure;
    };

    std::filesystem::path pathOf(const std::string& name) const { return m_folder / name; }
    void fetch(const std::string& key, const std::string& name, std::uint64_t size, const std::stop_token& stop);
    void add(const std::string& name, std::uint64_t size);
    void makeRoom(std::uint64_t size);
    /// Frees up to `size` bytes of a disk that is fuller than the cache may be; returns false when nothing is left to free.
    bool shrink(std::uint64_t size);
    /// Fetches into `part`, whatever has to leave for it.
    void fill(const std::string& key, const std::filesystem::path& part, std::uint64_t size, const std::stop_token& stop);
    void drop(const std::string& name);

    BlobStore& m_store;
    const std::filesystem::path m_folder;
    const std::uint64_t m_maxBytes;
    Metrics& m_metrics;
    mutable std::mutex m_mutex; ///< Guards what follows.
    std::condition_variable_any m_fetched;
    std::map<std::string, std::shared_ptr<Fetch>> m_fetches;
    std::map<std::string, Entry> m_entries;
    std::list<std::string> m_uses; ///< The last used first.
    std::uint64_t m_used = 0; ///< Bytes, with what is being fetched.
};

} // namespace orvo::server
