#pragma once

#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/FileSource.h"

namespace orvo::server {

/// Stores files in a local folder. Once `put` returns, the file survives a power cut.
class LocalStore final : public BlobStore, public FileSource {
public:
    /// Creates the folder, which only its owner can read. Throws file system errors.
    explicit LocalStore(std::filesystem::path folder);

    std::string_view name() const noexcept override { return "local"; }
    Status status() override;
    /// Creates a hard link if possible, so the file must not be changed afterwards.
    void put(const std::string& key, const std::filesystem::path& file, const std::stop_token& stop) override;
    void fetch(const std::string& key, const std::filesystem::path& target, const std::stop_token& stop) override;
    void remove(const std::string& key, const std::stop_token& stop) override;

    std::shared_ptr<const OpenFile> openIfHere(const std::string& key, std::uint64_t size) override;
    std::shared_ptr<const OpenFile> open(const std::string& key, std::uint64_t size, const std::stop_token& stop) override;

private:
    std::filesystem::path pathOf(const std::string& key) const;

    const std::filesystem::path m_folder;
};

} // namespace orvo::server
