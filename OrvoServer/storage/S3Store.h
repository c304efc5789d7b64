#pragma once

#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/Transfer.h"

#include <atomic>
#include <mutex>

namespace orvo::server {

/// Stores files in an S3-compatible service. Requests are path-style, with AWS signatures, version 4, and the SHA-256 of
/// their body.
class S3Store final : public BlobStore {
public:
    struct Settings {
        std::string endpoint; ///< "https://host[:port]", without a trailing slash.
        std::string region = "us-east-1";
        std::string bucket;
        std::string prefix; ///< Precedes every key: empty or "name/".
        std::string accessKey;
        std::string secretKey;
        std::uint64_t partSize = std::uint64_t{256} << 20; ///< Bytes, at least 5 MiB; larger files are uploaded in parts.
        Transfer::Limits limits;
        Retries::Pause pause; ///< Waits between retries; empty for a real wait.
    };

    explicit S3Store(Settings settings);

    std::string_view name() const noexcept override { return "s3"; }
    /// The outcome of the last request; ready before the first.
    Status status() override;
    void put(const std::string& key, const std::filesystem::path& file, const std::stop_token& stop) override;
    void fetch(const std::string& key, const std::filesystem::path& target, const std::stop_token& stop) override;
    void remove(const std::string& key, const std::stop_token& stop) override;

private:
    TransferResponse send(TransferRequest request, const std::stop_token& stop);
    std::string address(const std::string& key, std::string_view query = {}) const;
    void putParts(
        const std::string& key, const std::filesystem::path& file, std::uint64_t size, const std::stop_token& stop);
    TransferRequest uploading(std::string url, FilePart part, const std::stop_token& stop) const;

    const Settings m_settings;
    Transfer m_transfer;
    Retries m_retries;
    std::mutex m_mutex; ///< Guards the members below.
    Status m_status{.isReady = true};
};

} // namespace orvo::server
