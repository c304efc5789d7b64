#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The server's cryptography, on OpenSSL. Thread-safe.
namespace orvo::server {

using Digest = std::array<std::uint8_t, 32>;

/// Fills `out` from the system's secure generator. Throws `Error` when that fails.
void fillRandom(std::span<std::uint8_t> out);

/// `bytes` random bytes as base64url.
std::string randomText(std::size_t bytes);

/// Base64 with "-" and "_", without padding.
std::string base64Url(std::span<const std::uint8_t> bytes);

/// Decodes exactly what `base64Url` writes; returns nullopt for any other text.
std::optional<std::string> fromBase64Url(std::string_view text);

/// Lower-case hexadecimal digits.
std::string hexText(std::span<const std::uint8_t> bytes);

Digest sha256(std::string_view data);
Digest hmacSha256(std::string_view key, std::string_view data);

/// Compares in time that depends only on the lengths.
bool isSameSecret(std::string_view one, std::string_view other);

inline std::string_view viewOf(const Digest& digest)
{
    return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

inline std::span<const std::uint8_t> bytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// An incremental SHA-256.
class RunningSha256 {
public:
    RunningSha256();
    ~RunningSha256();
    RunningSha256(RunningSha256&&) noexcept;
    RunningSha256& operator=(RunningSha256&&) noexcept;

    void add(std::span<const std::uint8_t> bytes);
    /// Returns the digest as hexadecimal digits. The object cannot be used afterwards.
    std::string finish();

private:
    struct Context;
    std::unique_ptr<Context> m_context;
};

} // namespace orvo::server
