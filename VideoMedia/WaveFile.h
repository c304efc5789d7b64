#pragma once

#include <cstdint>
#include <filesystem>

namespace orvo {

/// Makes a PCM wave file at least `frames` sample frames long by silence at its end.
///
/// Throws `captureError` for a file that is not a wave file whose samples come last, file system errors unchanged.
void extendWithSilence(const std::filesystem::path& wave, std::int64_t frames);

} // namespace orvo
