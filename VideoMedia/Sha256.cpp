#include "VideoMedia/Sha256.h"

#include <array>
#include <format>
#include <iterator>
#include <new>
#include <openssl/evp.h>

namespace orvo {

void Sha256::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256()
    : m_context(EVP_MD_CTX_new())
{
    if (!m_context || EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
}

void Sha256::add(std::span<const char> bytes)
{
    EVP_DigestUpdate(m_context.get(), bytes.data(), bytes.size());
}

std::string Sha256::finish()
{
    std::array<unsigned char, 32> digest{};
    EVP_DigestFinal_ex(m_context.get(), digest.data(), nullptr);
    std::string text;
    for (const auto byte : digest)
        std::format_to(std::back_inserter(text), "{:02x}", byte);
    return text;
}

std::string Sha256::of(std::string_view text)
{
    Sha256 sum;
    sum.add(text);
    return sum.finish();
}

} // namespace orvo
