#include "OrvoServer/storage/FileDigest.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <format>
#include <fstream>
#include <openssl/evp.h>
#include <system_error>
#include <vector>

namespace orvo::server {

std::string digestOf(const FilePart& part, const std::stop_token& stop)
{
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!digest || EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
    std::ifstream file(part.file, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(part.offset));
    std::vector<char> buffer(std::size_t{256} << 10);
    for (std::uint64_t left = part.size; left > 0;) {
        if (stop.stop_requested())
            throw Cancelled();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
        if (!file.read(buffer.data(), static_cast<std::streamsize>(count)))
            throw std::filesystem::filesystem_error("read", part.file, std::make_error_code(std::errc::io_error));
        EVP_DigestUpdate(digest.get(), buffer.data(), count);
        left -= count;
    }
    std::array<unsigned char, 32> sum{};
    EVP_DigestFinal_ex(digest.get(), sum.data(), nullptr);
    std::string text;
    for (const unsigned byte : sum)
        text += std::format("{:02x}", byte);
    return text;
}

} // namespace orvo::server
