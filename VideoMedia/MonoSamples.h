#pragma once

#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stop_token>

namespace orvo {

/// The first audio stream of a file, mixed to one channel.
struct MonoSamples {
    std::filesystem::path file;
    int rate = 0; ///< Samples per second.
    double duration = 0; ///< Length of the file in seconds, for the progress; 0 if unknown.
};

/// Passes all samples to `take`, in order and in blocks of at most 65,536, on the calling thread. The first sample is at
/// time 0 of the file: late beginnings and gaps are silence, so audio and video stay in step.
///
/// `scratch` is a temporary file for the samples, two bytes each, in an existing folder; the caller removes it.
///
/// Blocks. Throws as `ProcessRunner::requireFfmpeg` and `ProcessRunner::run`, also for a file without audio, and
/// `std::system_error` if `scratch` cannot be read.
void readMonoSamples(const MonoSamples& samples, const std::filesystem::path& scratch,
    const std::function<void(std::span<const std::int16_t>)>& take, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
