#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>

namespace orvo::speech {

/// Reads a mono wave file with 16-bit samples at `sampleRate` in blocks.
class WaveReader {
public:
    /// Throws `captureError` for any other format, and file system errors unchanged.
    explicit WaveReader(const std::filesystem::path& file);

    /// Samples in the file.
    std::size_t size() const noexcept { return m_size; }

    /// Reads the samples from `first`. Throws `captureError` when the file ends before.
    void read(std::size_t first, std::span<float> samples);

private:
    std::ifstream m_file;
    std::uint64_t m_begin = 0; ///< Bytes.
    std::size_t m_size = 0;
};

} // namespace orvo::speech
