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

/// Finds `ffmpeg` and runs child processes. Stateless; usable from any thread.
namespace ProcessRunner {

/// The folder of the application bundle ("OrvoVideo.app") of the running program: the one that contains it, or the one
/// beside its folder.
std::filesystem::path bundlePath();

/// The first executable among "Contents/Helpers/ffmpeg" in the bundle, "/opt/homebrew/opt/ffmpeg-full/bin/ffmpeg",
/// "/opt/homebrew/bin/ffmpeg" and "/usr/local/bin/ffmpeg"; nullopt if there is none. Searches on every call.
std::optional<std::filesystem::path> ffmpeg();

/// As `ffmpeg`; throws `captureError` with "FFmpeg no está instalado." if there is none.
std::filesystem::path requireFfmpeg();

/// The versions of `ffmpeg` and its libraries, as it prints them. Throws `captureError` with a text for the user if it
/// cannot be run or is older than version 7, the first that reads option values from files.
std::string requireUsable(const std::filesystem::path& ffmpeg);

/// Runs a program, waits for its end and returns its standard output and error, interleaved, as UTF-8 (empty if
/// invalid). Above 2,000,000 bytes, keeps only the last 1,000,000.
///
/// With a `duration` above 0 (seconds of output media) and an `onProgress`, every line "out_time_us=N" of the output reports
/// N / 1,000,000 / `duration`, at most 1.
///
/// Throws `std::system_error` if the program cannot be started, `captureError` with "El proceso de vídeo falló: " and
/// the last 1,800 characters of the output if it exits with a status other than 0, and `Cancelled` if `stop` was
/// requested: the child and its descendants then get two seconds to end before they are killed. Children end with this
/// program, even if it crashes.
std::string run(const std::filesystem::path& executable, const std::vector<std::string>& arguments,
    const ProgressCallback& onProgress = {}, double duration = 0, const std::stop_token& stop = {});

/// Runs a program and returns whether it exits with status 0. Throws as `run` if it cannot be started or `stop` was
/// requested.
bool succeeds(
    const std::filesystem::path& executable, const std::vector<std::string>& arguments, const std::stop_token& stop = {});

} // namespace ProcessRunner

} // namespace orvo
