#include "OrvoServer/base/Crypto.h"

#include "VideoCore/Error.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <vector>

namespace orvo::server {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

[[noreturn]] void fail()
{
    throw captureError("La biblioteca de cifrado no ha podido trabajar.");
}

} // namespace

void fillRandom(std::span<std::uint8_t> out)
{
    if (RAND_bytes(out.data(), static_cast<int>(out.size())) != 1)
        fail();
}

std::string randomText(std::size_t bytes)
{
    std::vector<std::uint8_t> random(bytes);
    fillRandom(random);
    return base64Url(random);
}

std::string base64Url(std::span<const std::uint8_t> bytes)
{
    std::string text;
    text.reserve((bytes.size() * 4 + 2) / 3);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = (group << 8U) | (k < count ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k <= count; ++k)
            text += alphabet[(group >> (18 - 6 * k)) & 63U];
    }
    return text;
}

std::optional<std::string> fromBase64Url(std::string_view text)
{
    if (text.size() % 4 == 1)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() * 3 / 4);
    std::uint32_t group = 0;
    unsigned bits = 0;
    for (const char c : text) {
        const auto value = alphabet.find(c);
        if (value == std::string_view::npos)
            return std::nullopt;
        group = (group << 6U) | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>((group >> bits) & 255U);
        }
    }
    // Unused bits must be zero, so that each value has one encoding.
    if (group & ((1U << bits) - 1U))
        return std::nullopt;
    return bytes;
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

Digest sha256(std::string_view data)
{
    Digest digest{};
    unsigned size = 0;
    if (EVP_Digest(data.data(), data.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1)
        fail();
    return digest;
}

Digest hmacSha256(std::string_view key, std::string_view data)
{
    Digest digest{};
    unsigned size = 0;
    const auto bytes = bytesOf(data);
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes.data(), bytes.size(), digest.data(), &size))
        fail();
    return digest;
}

bool isSameSecret(std::string_view one, std::string_view other)
{
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

struct RunningSha256::Context {
    Context()
        : context(EVP_MD_CTX_new())
    {
        if (!context || EVP_DigestInit_ex(context, EVP_sha256(), nullptr) != 1)
            fail();
    }
    ~Context() { EVP_MD_CTX_free(context); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    EVP_MD_CTX* context;
};

RunningSha256::RunningSha256()
    : m_context(std::make_unique<Context>())
{
}

RunningSha256::~RunningSha256() = default;
RunningSha256::RunningSha256(RunningSha256&&) noexcept = default;
RunningSha256& RunningSha256::operator=(RunningSha256&&) noexcept = default;

void RunningSha256::add(std::span<const std::uint8_t> bytes)
{
    if (EVP_DigestUpdate(m_context->context, bytes.data(), bytes.size()) != 1)
        fail();
}

std::string RunningSha256::finish()
{
    Digest digest{};
    unsigned size = 0;
    if (EVP_DigestFinal_ex(m_context->context, digest.data(), &size) != 1)
        fail();
    return hexText(digest);
}

} // namespace orvo::server
