#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

struct ssl_ctx_st;

namespace orvo::server {

/// A certificate chain and its key from PEM files, read again when the files change. Any thread.
class TlsCertificate {
public:
    /// Throws `Error` when the files cannot be used.
    TlsCertificate(std::filesystem::path chain, std::filesystem::path key);

    /// What a new connection uses.
    std::shared_ptr<ssl_ctx_st> context() const;

    /// Returns whether there was a new certificate. A broken one throws `Error` and leaves the old one in use.
    bool reloadIfChanged();

    /// Days until the certificate ends; negative afterwards.
    int daysLeft() const;

private:
    using Stamp = std::pair<std::filesystem::file_time_type, std::filesystem::file_time_type>;

    Stamp stamp() const;

    const std::filesystem::path m_chain;
    const std::filesystem::path m_key;
    mutable std::mutex m_mutex; ///< Guards what follows.
    Stamp m_stamp;
    std::shared_ptr<ssl_ctx_st> m_context;
};

} // namespace orvo::server
