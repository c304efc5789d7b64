#pragma once

#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/Transfer.h"

#include <atomic>
#include <mutex>

namespace orvo::server {

/// An S3-compatible service. Requests are path-style and carry AWS signatures, version 4, and the SHA-256 of what they send.
class S3Store final : public BlobStore {
public:
    struct Settings {
        std::string endpoint; ///< "https://host[:port]", without a slash behind.
        std::string region = "us-east-1";
        std::string bucket;
        std::string prefix; ///< Before every key; empty, or "name/".
        std::string accessKey;
        std::string secretKey;
        std::uint64_t partSize = std::uint64_t{256} << 20; ///< Bytes, at least 5 MiB; larger files go up in parts.
        Transfer::Limits limits;
        Retries::Pause pause; ///< Between tries; empty for a real one.
    };

    explicit S3Store(Settings settings);

    std::string_view name() const noexcept override { return "s3"; }
    /// As the last request found it; ready before the first.
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
    std::mutex m_mutex; ///< Guards what follows.
    Status m_status{.isReady = true};
};

} // namespace orvo::server
