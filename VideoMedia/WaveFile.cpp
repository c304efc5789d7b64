#include "VideoMedia/WaveFile.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <ios>
#include <string_view>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t riffHeader = 12; ///< "RIFF", size, "WAVE".
constexpr std::uint64_t chunkHeader = 8; ///< Name, size.
constexpr std::uint64_t largestSize = 0xFFFFFFFF;

using Bytes = std::array<char, chunkHeader>;

/// A number of `count` bytes, the least significant first.
std::uint32_t number(const char* bytes, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

void writeSize(std::fstream& file, std::uint64_t offset, std::uint64_t size)
{
    // Readers take the rest of the file for samples when the size does not fit.
    size = std::min(size, largestSize);
    Bytes bytes{};
    for (std::size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(size >> (8 * i) & 0xFF);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(bytes.data(), 4);
}

} // namespace

void extendWithSilence(const fs::path& wave, std::int64_t frames)
{
    const auto fail = [] { return captureError("El sonido mezclado no es un archivo de onda."); };
    std::fstream file(wave, std::ios::binary | std::ios::in | std::ios::out);
    std::uint64_t frameSize = 0;
    std::uint64_t at = riffHeader;
    for (Bytes header{};;) {
        file.seekg(static_cast<std::streamoff>(at));
        if (!file.read(header.data(), header.size()))
            throw fail();
        const std::string_view name(header.data(), 4);
        const std::uint32_t size = number(header.data() + 4, 4);
        at += chunkHeader;
        if (name == "data")
            break;
        if (name == "fmt ") {
            // Bytes of one sample of every channel are the twelfth and thirteenth of the format.
            std::array<char, 14> format{};
            if (!file.read(format.data(), format.size()))
                throw fail();
            frameSize = number(format.data() + 12, 2);
        }
        at += size + size % 2;
    }
    if (frameSize == 0)
        throw fail();
    const std::uint64_t end = at + static_cast<std::uint64_t>(std::max<std::int64_t>(frames, 0)) * frameSize;
    if (end <= fs::file_size(wave))
        return;
    writeSize(file, 4, end - chunkHeader);
    writeSize(file, at - 4, end - at);
    file.flush();
    if (!file)
        throw fail();
    fs::resize_file(wave, end);
}

} // namespace orvo
