#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// How films are sharpened: brightness gains 0.35 times what it differs from its blur by 5×5 binomial weights.
namespace orvo::Sharpening {

/// The filter of ffmpeg that does it exactly: 14 ms for a 1080p frame.
inline constexpr std::string_view filter = "unsharp=5:5:0.35:3:3:0";

/// Chains from a label to another, in brackets, that do the same in 4 ms: each of their filters has vector code. Values are
/// rounded between them, and more than 127 of difference counts as 127, which only single dots reach. The structural
/// similarity to the result of `filter` is at least 0.999.
std::vector<std::string> chains(const std::string& from, const std::string& to);

/// Whether this ffmpeg has the filters of `chains`. The answer is kept until its file changes.
///
/// Throws as `ProgramTrials::succeeds`.
bool hasChains(const std::filesystem::path& ffmpeg, const std::stop_token& stop = {});

} // namespace orvo::Sharpening
