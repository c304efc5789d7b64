#pragma once

#include "VideoCore/Error.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>

namespace orvo::server {

/// Stores finished files in a folder, an S3-compatible service or Google Drive.
///
/// The server creates the keys: letters, digits, "-", "_" and "/" between non-empty parts. Calls block, so use worker
/// threads. Thread-safe. Throws `StoreError` with a Spanish text for the author.
class BlobStore {
public:
    /// The state that `api/status` and the health checks report.
    struct Status {
        bool isReady = false; ///< Files can be stored and fetched, as far as known.
        std::string text; ///< The reason in Spanish; empty if ready.
    };

    BlobStore() = default;
    BlobStore(const BlobStore&) = delete;
    BlobStore& operator=(const BlobStore&) = delete;
    virtual ~BlobStore() = default;

    /// "local", "s3" or "drive", as `api/status` names it.
    virtual std::string_view name() const noexcept = 0;

    /// Reports the last known state. Sends no request.
    virtual Status status() = 0;

    /// Stores the content of `file` under `key`. May be repeated with the same content.
    virtual void put(const std::string& key, const std::filesystem::path& file, const std::stop_token& stop) = 0;

    /// Fetches the content of `key` into the file `target`, replacing it. Leaves no partial `target` on failure.
    virtual void fetch(const std::string& key, const std::filesystem::path& target, const std::stop_token& stop) = 0;

    /// Removes `key`; ignores a missing one.
    virtual void remove(const std::string& key, const std::stop_token& stop) = 0;
};

/// A failure of a store, with a text for the author.
class StoreError : public Error {
public:
    enum class Kind : std::uint8_t {
        passing, ///< Unreachable, slow or rate-limited; a later retry may help.
        unauthorised, ///< The author must authorise the store again.
        full, ///< The store or its disk is full.
        missing, ///< The store has no such key.
        refused, ///< Any other refusal of the store.
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
