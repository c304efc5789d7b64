#include "OrvoVideo/transcription/WaveReader.h"

#include "OrvoVideo/transcription/SpeechActivity.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

namespace orvo::speech {

namespace fs = std::filesystem;

namespace {

std::uint32_t number(const char* bytes, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

} // namespace

WaveReader::WaveReader(const fs::path& file)
    : m_file(file, std::ios::binary)
{
    if (!m_file)
        throw fs::filesystem_error("open", file, std::error_code(errno, std::generic_category()));
    const auto fail = [] { return captureError("El audio preparado no se puede leer."); };
    std::array<char, 12> riff{};
    if (!m_file.read(riff.data(), riff.size()) || std::string_view(riff.data() + 8, 4) != "WAVE")
        throw fail();
    std::uint64_t at = riff.size();
    bool known = false;
    for (std::array<char, 8> header{};
        m_file.seekg(static_cast<std::streamoff>(at)) && m_file.read(header.data(), header.size());) {
        const std::string_view name(header.data(), 4);
        const std::uint64_t size = number(header.data() + 4, 4);
        at += header.size();
        if (name == "data") {
            const std::uint64_t there = fs::file_size(file) - at;
            m_begin = at;
            m_size = static_cast<std::size_t>(std::min(size, there) / 2);
            break;
        }
        if (name == "fmt ") {
            std::array<char, 16> format{};
            if (!m_file.read(format.data(), format.size()))
                throw fail();
            known = number(format.data() + 2, 2) == 1 && number(format.data() + 4, 4) == sampleRate
                && number(format.data() + 14, 2) == 16;
        }
        at += size + size % 2;
    }
    if (!known || m_begin == 0)
        throw fail();
}

void WaveReader::read(std::size_t first, std::span<float> samples)
{
    std::vector<char> bytes(samples.size() * 2);
    m_file.clear();
    m_file.seekg(static_cast<std::streamoff>(m_begin + 2 * first));
    if (!m_file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        throw captureError("El audio preparado no se puede leer.");
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(static_cast<std::int16_t>(number(bytes.data() + 2 * i, 2))) / 32768;
}

} // namespace orvo::speech
