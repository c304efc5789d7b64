#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

/// A source in a filter graph that reads a video file at the pace of the graph.
///
/// The decoders of inputs run ahead of each other instead: about twenty full frames of the screen would wait for the camera.
namespace orvo::PacedSource {

/// The filter that reads a file from a key frame before `start` seconds, with the timestamps of the file. `threads` decode.
std::string filter(const std::filesystem::path& file, double start, int threads);

/// Whether this ffmpeg has the filter with its options, by a trial. Throws as `ProgramTrials::succeeds`.
bool isKnown(const std::filesystem::path& ffmpeg, const std::stop_token& stop = {});

} // namespace orvo::PacedSource
