#pragma once

#include "VideoCore/Error.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>

namespace orvo::server {

/// Where finished files are kept: a folder, an S3-compatible service or Google Drive.
///
/// Keys are names of the server's own: letters, digits, "-", "_" and "/" between non-empty parts. Every call blocks, for
/// worker threads, and may be made from several at once. Failures are a `StoreError` with a Spanish text for the author.
class BlobStore {
public:
    /// What the author, and `api/status`, are told.
    struct Status {
        bool isReady = false; ///< Files can be stored and fetched now, as far as is known.
        std::string text; ///< Why not, in Spanish; empty when ready.
    };

    BlobStore() = default;
    BlobStore(const BlobStore&) = delete;
    BlobStore& operator=(const BlobStore&) = delete;
    virtual ~BlobStore() = default;

    /// "local", "s3" or "drive", as `api/status` names it.
    virtual std::string_view name() const noexcept = 0;

    /// Answers from what is known, without a request that can take long.
    virtual Status status() = 0;

    /// Stores the content of `file` under `key`. The same content may be stored again.
    virtual void put(const std::string& key, const std::filesystem::path& file, const std::stop_token& stop) = 0;

    /// Fetches the whole content of `key` into the file `target`, replaced when present. `target` holds nothing half fetched
    /// after a failure.
    virtual void fetch(const std::string& key, const std::filesystem::path& target, const std::stop_token& stop) = 0;

    /// Removes `key`; one that is not there is removed already.
    virtual void remove(const std::string& key, const std::stop_token& stop) = 0;
};

/// A failure of a store: a text for the author, and what may help.
class StoreError : public Error {
public:
    enum class Kind : std::uint8_t {
        passing, ///< Away, slow or over a rate: trying again later may help.
        unauthorised, ///< The author has to authorise the store again.
        full, ///< No room is left.
        missing, ///< The key is not there.
        refused, ///< Anything else the store says no to.
    };

    StoreError(Kind kind, const std::string& message)
        : Error(captureError(message))
        , m_kind(kind)
    {
    }
    Kind kind() const noexcept { return m_kind; }

private:
    Kind m_kind;
};

} // namespace orvo::server
