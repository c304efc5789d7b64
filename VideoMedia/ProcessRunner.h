#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// Receives a fraction, at most 1. Called on the thread that does the work.
using ProgressCallback = std::function<void(double)>;

/// Finds the external `ffmpeg` program and runs programs as child processes. Stateless; usable from any thread.
namespace ProcessRunner {

/// The folder of the application bundle ("OrvoVideo.app") that the running program belongs to: the one it lies in, or the
/// one beside the folder it lies in.
std::filesystem::path bundlePath();

/// The first executable among "Contents/Helpers/ffmpeg" in the bundle, "/opt/homebrew/opt/ffmpeg-full/bin/ffmpeg",
/// "/opt/homebrew/bin/ffmpeg" and "/usr/local/bin/ffmpeg"; nothing when there is none. Looked up afresh on every call.
std::optional<std::filesystem::path> ffmpeg();

/// Throws `captureError` with a text for the user when this `ffmpeg` cannot be run or is older than version 7, the
/// first that reads an option's value from a file.
void requireUsable(const std::filesystem::path& ffmpeg);

/// Runs a program with exactly these arguments, waits for its end and returns what it wrote to its standard output and
/// error, interleaved, as UTF-8 (empty when it is not valid UTF-8). Above 2,000,000 bytes only the last 1,000,000 are kept.
///
/// With a `duration` above 0 (seconds of output media) and an `onProgress`, every line "out_time_us=N" of the output reports
/// N / 1,000,000 / `duration`, at most 1.
///
/// Throws `std::system_error` when the program cannot be started, `captureError` with "El proceso de vídeo falló: " and the
/// last 1,800 characters of the output when it ends with another status than 0, and `Cancelled` when `stop` was requested:
/// the child and what it has started are then asked to end, and killed when they
/// have not after two seconds. A child ends with this program, however that ends.
std::string run(const std::filesystem::path& executable, const std::vector<std::string>& arguments,
    const ProgressCallback& onProgress = {}, double duration = 0, const std::stop_token& stop = {});

/// Runs a program for the sake of its status alone: whether it ends with 0. Throws as `run` when it cannot be started or
/// `stop` was requested.
bool succeeds(
    const std::filesystem::path& executable, const std::vector<std::string>& arguments, const std::stop_token& stop = {});

} // namespace ProcessRunner

} // namespace orvo
