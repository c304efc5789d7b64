#pragma once

#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace orvo {

/// The arguments of a program, without its name.
using Arguments = std::vector<std::string>;

inline void append(Arguments& arguments, Arguments more)
{
    arguments.insert(arguments.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// The log output of a run of ffmpeg.
enum class FfmpegLog : std::uint8_t { everything, errors };

/// The common arguments of every run of ffmpeg, then `more`: no banner, no input from the terminal, existing files are
/// replaced.
inline Arguments ffmpegArguments(Arguments more = {}, FfmpegLog log = FfmpegLog::everything)
{
    Arguments arguments{"-hide_banner", "-nostdin", "-y"};
    if (log == FfmpegLog::errors)
        append(arguments, {"-v", "error"});
    append(arguments, std::move(more));
    return arguments;
}

} // namespace orvo
