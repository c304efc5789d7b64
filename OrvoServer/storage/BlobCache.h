#pragma once

#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/FileSource.h"

#include <condition_variable>
#include <list>
#include <map>
#include <mutex>

namespace orvo::server {

/// Caches files of a remote store on the local disk. Fetches whole files; concurrent requests share one fetch. Evicts the
/// least recently used files, also if something else fills the disk.
class BlobCache final : public FileSource {
public:
    /// Adopts the files of an earlier run in `folder`. Throws file system errors.
    BlobCache(BlobStore& store, std::filesystem::path folder, std::uint64_t maxBytes, Metrics& metrics);

    std::shared_ptr<const OpenFile> openIfHere(const std::string& key, std::uint64_t size) override;
    /// If another thread fetches the file, waits for it and shares its failure, but not its cancellation.
    std::shared_ptr<const OpenFile> open(const std::string& key, std::uint64_t size, const std::stop_token& stop) override;

    std::uint64_t usedBytes() const;

private:
    struct Entry {
        std::uint64_t size = 0;
        std::list<std::string>::iterator use;
    };
    struct Fetch {
        bool isDone = false;
        bool isCancelled = false; ///< The fetching thread was cancelled; waiting threads fetch again.
        std::exception_ptr failure;
    };

    std::filesystem::path pathOf(const std::string& name) const { return m_folder / name; }
    void fetch(const std::string& key, const std::string& name, std::uint64_t size, const std::stop_token& stop);
    void add(const std::string& name, std::uint64_t size);
    void makeRoom(std::uint64_t size);
    /// Evicts files of about `size` bytes because the disk is full; returns false if the cache is empty.
    bool shrink(std::uint64_t size);
    /// Fetches into `part`; evicts files while the disk is full.
    void fill(const std::string& key, const std::filesystem::path& part, std::uint64_t size, const std::stop_token& stop);
    void drop(const std::string& name);

    BlobStore& m_store;
    const std::filesystem::path m_folder;
    const std::uint64_t m_maxBytes;
    Metrics& m_metrics;
    mutable std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable_any m_fetched;
    std::map<std::string, std::shared_ptr<Fetch>> m_fetches;
    std::map<std::string, Entry> m_entries;
    std::list<std::string> m_uses; ///< Most recently used first.
    std::uint64_t m_used = 0; ///< Bytes, including those being fetched.
};

} // namespace orvo::server
