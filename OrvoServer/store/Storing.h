#pragma once

#include "OrvoServer/base/Log.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/FileSource.h"
#include "OrvoServer/store/Uploads.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

namespace orvo::server {

/// Moves the files of revisions from the uploads to the store, in the background, one revision at a time.
class Storing {
public:
    Storing(Catalogue& catalogue, Uploads& uploads, BlobStore& store, FileSource& source, Log& log, Metrics& metrics);
    /// Stops after the current file, or within it if the store can; the next start resumes.
    ~Storing();

    /// Thread-safe; does not block. Ignores queued revisions.
    void add(const std::string& revision);

private:
    void work(const std::stop_token& stop);
    void storeRevision(const std::string& revision, const std::stop_token& stop);
    void storeFile(const FileRecord& file, const std::stop_token& stop);
    /// Adds up the segments of a playlist of the revision.
    void noteDuration(const std::string& revision, const std::stop_token& stop);

    Catalogue& m_catalogue;
    Uploads& m_uploads;
    BlobStore& m_store;
    FileSource& m_source;
    Log& m_log;
    Metrics& m_metrics;
    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable_any m_added;
    std::deque<std::string> m_queue;
    std::jthread m_thread; ///< Last, so that it joins before the members it uses are destroyed.
};

/// The sum of the segments of an HLS playlist, in milliseconds.
std::int64_t playlistDuration(std::string_view playlist);

} // namespace orvo::server
