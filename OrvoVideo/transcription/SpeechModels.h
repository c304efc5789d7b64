#pragma once

#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// A published speech model for Spanish and English.
struct SpeechModel {
    std::string name; ///< Short name for options and settings: "base".
    std::string file;
    std::uint64_t size = 0; ///< Bytes.
    std::string sha256; ///< Hash of the file, in lower-case hexadecimal.
    std::string address;
    std::string description; ///< Its use, in Spanish.
    double work = 0; ///< Time that it takes, as a multiple of what "base" takes.
};

/// The available speech models and their files. Thread-safe.
namespace SpeechModels {

inline constexpr std::string_view usual = "base";

/// The downloadable models, smallest first.
std::span<const SpeechModel> catalogue();

/// The catalogue entry with this name, or null.
const SpeechModel* inCatalogue(std::string_view name);

/// The folder for downloads and for the user's own models. It may not exist.
std::filesystem::path folder();

/// The folders to search for models: those in ORVO_MODELS (separated by colons), `folder()` and that of the application
/// bundle.
std::vector<std::filesystem::path> folders();

/// The installed file of a model, or nullopt: its catalogue file, or "ggml-NAME.bin".
std::optional<std::filesystem::path> installed(std::string_view name);

/// The file of a model; downloads it if it is not installed. Throws `captureError` for an unknown name, and what
/// `download` throws.
std::filesystem::path require(
    std::string_view name, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Downloads a model into a folder and returns its file, which appears only when complete and verified. Resumes an
/// interrupted download.
///
/// Uses the proxy of the environment or the desktop (`SystemProxy`). Blocks; `progress` receives the fraction done.
/// Throws `captureError` with the cause and the remedy (no network, unexpected response, wrong hash, full disk), file
/// system errors unchanged, and `Cancelled`.
std::filesystem::path download(const SpeechModel& model, const std::filesystem::path& folder,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace SpeechModels

} // namespace orvo
