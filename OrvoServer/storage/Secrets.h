#pragma once

#include <array>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// The few secrets that the server has to be able to use again, such as the authorisation of Drive. Any thread.
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

/// Seals texts with AES-256-GCM under one key, bound to a name: a sealed text that is moved to another name does not open.
class SecretBox {
public:
    /// Reads the key file, or makes one that only its owner can read. Throws file system errors, and `Error` for a file that
    /// is no key.
    explicit SecretBox(const std::filesystem::path& keyFile);
    ~SecretBox();

    std::string seal(std::string_view name, std::string_view text) const;
    /// Returns nullopt for a text that was not sealed under this key and name.
    std::optional<std::string> open(std::string_view name, std::string_view sealed) const;

private:
    std::array<unsigned char, 32> m_key{};
};

/// Secrets as sealed files of a folder.
class FileSecrets final : public Secrets {
public:
    /// The key lies in the folder as "secret.key".
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
