#pragma once

#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/DriveAuthorisation.h"

#include <unordered_map>

namespace orvo::server {

/// Stores private files in a folder "Orvo Video" of the author's Google Drive, each with its key as an application property.
///
/// Makes at most ten calls a second and retries rate-limited ones. Uploads are resumable: after a lost connection they
/// continue at the offset that the service reports.
class DriveStore final : public BlobStore {
public:
    struct Settings {
        std::string apiUrl = "https://www.googleapis.com/drive/v3";
        std::string uploadUrl = "https://www.googleapis.com/upload/drive/v3";
        std::string folder = "Orvo Video";
        std::uint64_t chunkSize = std::uint64_t{32} << 20; ///< Bytes, a multiple of 256 KiB.
        std::chrono::milliseconds callInterval{100};
        Transfer::Limits limits;
        Retries::Pause pause; ///< Waits between calls and retries; empty for a real wait.
    };

    DriveStore(Settings settings, DriveAuthorisation& authorisation);

    std::string_view name() const noexcept override { return "drive"; }
    /// Ready while the permission is valid.
    Status status() override;
    void put(const std::string& key, const std::filesystem::path& file, const std::stop_token& stop) override;
    void fetch(const std::string& key, const std::filesystem::path& target, const std::stop_token& stop) override;
    void remove(const std::string& key, const std::stop_token& stop) override;

private:
    /// A file in Drive.
    struct Item {
        std::string id;
        std::uint64_t size = 0;
        std::string sha256;
    };

    TransferResponse call(TransferRequest request, const std::stop_token& stop);
    TransferResponse callOnce(TransferRequest request, const std::stop_token& stop);
    void awaitTurn(const std::stop_token& stop);
    std::optional<Item> find(const std::string& query, const std::stop_token& stop);
    std::optional<Item> findKey(const std::string& key, const std::stop_token& stop);
    std::string folderId(const std::stop_token& stop);
    void upload(const std::string& key, const std::filesystem::path& file, std::uint64_t size, const std::stop_token& stop);

    const Settings m_settings;
    DriveAuthorisation& m_authorisation;
    Transfer m_transfer;
    Retries m_retries;

    std::mutex m_mutex; ///< Guards the members below.
    std::chrono::steady_clock::time_point m_nextCall;
    std::string m_folderId;
    std::unordered_map<std::string, std::string> m_ids; ///< By key; saves searches and may be outdated.
};

} // namespace orvo::server
