#include "VideoMedia/MonoSamples.h"

#include "VideoMedia/Arguments.h"

#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace orvo {

void readMonoSamples(const MonoSamples& samples, const std::filesystem::path& scratch,
    const std::function<void(std::span<const std::int16_t>)>& take, const ProgressCallback& progress,
    const std::stop_token& stop)
{
    constexpr std::size_t blockSize = 1 << 16;

    ProcessRunner::run(ProcessRunner::requireFfmpeg(),
        ffmpegArguments({"-i", samples.file.string(), "-map", "0:a:0", "-vn", "-af", "aresample=async=1:first_pts=0", "-ac",
            "1", "-ar", std::to_string(samples.rate), "-f", "s16le", "-progress", "pipe:1", scratch.string()}),
        progress, samples.duration, stop);

    std::ifstream raw(scratch, std::ios::binary);
    if (!raw)
        throw std::system_error(errno, std::system_category());
    std::vector<std::int16_t> block(blockSize);
    while (raw) {
        raw.read(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(block.size() * sizeof(std::int16_t)));
        const auto count = static_cast<std::size_t>(raw.gcount()) / sizeof(std::int16_t);
        if (count > 0)
            take(std::span(block).first(count));
    }
}

} // namespace orvo
