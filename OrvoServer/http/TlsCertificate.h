#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

struct ssl_ctx_st;

namespace orvo::server {

/// A certificate chain and its key from PEM files, reloaded when the files change. Thread-safe.
class TlsCertificate {
public:
    /// Throws `Error` when the files cannot be used.
    TlsCertificate(std::filesystem::path chain, std::filesystem::path key);

    /// The context for new connections.
    std::shared_ptr<ssl_ctx_st> context() const;

    /// Returns whether there was a new certificate. Throws `Error` for an invalid one and keeps the old one.
    bool reloadIfChanged();

    /// Days until the certificate expires; negative afterwards.
    int daysLeft() const;

private:
    using Stamp = std::pair<std::filesystem::file_time_type, std::filesystem::file_time_type>;

    Stamp stamp() const;

    const std::filesystem::path m_chain;
    const std::filesystem::path m_key;
    mutable std::mutex m_mutex; ///< Guards the members below.
    Stamp m_stamp;
    std::shared_ptr<ssl_ctx_st> m_context;
};

} // namespace orvo::server
