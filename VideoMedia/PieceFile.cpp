#include "VideoMedia/PieceFile.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

namespace orvo::PieceFile {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t maxTables = 1 << 20; ///< Bytes; the tables of a piece take some kilobytes.

std::optional<std::uint32_t> numberAt(std::string_view bytes, std::size_t at)
{
    if (at > bytes.size() || bytes.size() - at < 4)
        return std::nullopt;
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(at, 4))
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

/// The content of the last box of a type, or an empty text.
std::string_view lastBox(std::string_view bytes, std::string_view type)
{
    const auto at = bytes.rfind(type);
    if (at == bytes.npos || at < 4)
        return {};
    const auto size = numberAt(bytes, at - 4).value_or(0);
    return size < 8 || size - 8 > bytes.size() - (at + 4) ? std::string_view() : bytes.substr(at + 4, size - 8);
}

} // namespace

Facts factsOf(const fs::path& file)
{
    std::error_code missing;
    const auto size = fs::file_size(file, missing);
    if (missing)
        return {};
    std::string tail(std::min(size, maxTables), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(size - tail.size()));
    if (!stream.read(tail.data(), static_cast<std::streamsize>(tail.size())))
        return {};
    constexpr std::size_t countOffset = 8; // After the version and the common size.
    return {.frames = numberAt(lastBox(tail, "stsz"), countOffset).value_or(0),
        .parameters = std::string(lastBox(tail, "avcC"))};
}

} // namespace orvo::PieceFile
