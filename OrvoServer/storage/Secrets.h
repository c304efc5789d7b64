#pragma once

#include <array>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// Stores the secrets that the server must read back, such as the authorisation of Drive. Thread-safe.
class Secrets {
public:
    Secrets() = default;
    Secrets(const Secrets&) = delete;
    Secrets& operator=(const Secrets&) = delete;
    virtual ~Secrets() = default;

    virtual std::optional<std::string> load(std::string_view name) = 0;
    virtual void save(std::string_view name, std::string_view value) = 0;
    virtual void erase(std::string_view name) = 0;
};

/// Seals texts with AES-256-GCM under one key and a name. `open` rejects a text that was sealed under another name.
class SecretBox {
public:
    /// Reads the key file, or creates one that only its owner can read. Throws file system errors, and `Error` for an
    /// invalid key file.
    explicit SecretBox(const std::filesystem::path& keyFile);
    ~SecretBox();

    std::string seal(std::string_view name, std::string_view text) const;
    /// Returns nullopt if the text was not sealed under this key and name.
    std::optional<std::string> open(std::string_view name, std::string_view sealed) const;

private:
    std::array<unsigned char, 32> m_key{};
};

/// Stores secrets as sealed files in a folder.
class FileSecrets final : public Secrets {
public:
    /// The folder also holds the key, "secret.key".
    explicit FileSecrets(std::filesystem::path folder);

    std::optional<std::string> load(std::string_view name) override;
    void save(std::string_view name, std::string_view value) override;
    void erase(std::string_view name) override;

private:
    std::filesystem::path fileOf(std::string_view name) const;

    std::filesystem::path m_folder;
    SecretBox m_box;
    std::mutex m_mutex;
};

} // namespace orvo::server
