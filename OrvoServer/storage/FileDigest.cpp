#include "OrvoServer/storage/FileDigest.h"

#include "OrvoServer/base/Crypto.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <fstream>
#include <system_error>
#include <vector>

namespace orvo::server {

std::string digestOf(const FilePart& part, const std::stop_token& stop)
{
    RunningSha256 digest;
    std::ifstream file(part.file, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(part.offset));
    std::vector<char> buffer(std::size_t{256} << 10);
    for (std::uint64_t left = part.size; left > 0;) {
        if (stop.stop_requested())
            throw Cancelled();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
        if (!file.read(buffer.data(), static_cast<std::streamsize>(count)))
            throw std::filesystem::filesystem_error("read", part.file, std::make_error_code(std::errc::io_error));
        digest.add(bytesOf(std::string_view(buffer.data(), count)));
        left -= count;
    }
    return digest.finish();
}

} // namespace orvo::server
