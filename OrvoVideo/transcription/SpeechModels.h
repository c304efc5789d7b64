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

/// A speech model as its publisher offers it. It recognises Spanish and English.
struct SpeechModel {
    std::string name; ///< Short, for options and settings: "base".
    std::string file;
    std::uint64_t size = 0; ///< Bytes.
    std::string sha256; ///< Of the file, in lower-case hexadecimal digits.
    std::string address;
    std::string description; ///< What it is good for, in Spanish.
};

/// The speech models that can be had, and where they are. Usable from any thread.
namespace SpeechModels {

inline constexpr std::string_view usual = "base";

/// The models that can be downloaded, the smallest first.
std::span<const SpeechModel> catalogue();

/// The catalogue's entry of that name.
const SpeechModel* inCatalogue(std::string_view name);

/// Where downloads are put, and where users may put models of their own. It need not exist.
std::filesystem::path folder();

/// Where models are looked for: the folders that ORVO_MODELS names (with colons between them), `folder()`, and that of the
/// application bundle.
std::vector<std::filesystem::path> folders();

/// The file of a model, where there is one: "ggml-NAME.bin", or for a name of the catalogue its file.
std::optional<std::filesystem::path> installed(std::string_view name);

/// The file of a model, downloaded when it is in no folder. Throws `captureError` for a name that neither a folder nor the
/// catalogue knows, and as `download`.
std::filesystem::path require(
    std::string_view name, const ProgressCallback& progress = {}, const std::stop_token& stop = {});

/// Downloads a model into a folder and returns its file, which is there only when it is complete and has the right hash.
/// What was interrupted is gone on with the next time.
///
/// Uses the proxy of the environment, else of the desktop (`SystemProxy`). Blocks; `progress` receives the share that is
/// there. Throws `captureError` with what happened and what to do (no network, an answer other than the file, a wrong hash,
/// a full disk), file system errors unchanged, and `Cancelled`.
std::filesystem::path download(const SpeechModel& model, const std::filesystem::path& folder,
    const ProgressCallback& progress = {}, const std::stop_token& stop = {});

} // namespace SpeechModels

} // namespace orvo
