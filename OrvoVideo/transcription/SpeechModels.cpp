#include "OrvoVideo/transcription/SpeechModels.h"

#include "VideoCore/Error.h"
#include "VideoCore/UserFolders.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <format>
#include <ranges>

namespace orvo::SpeechModels {

namespace fs = std::filesystem;

namespace {

/// The publisher's files, with their sizes and hashes.
const std::array<SpeechModel, 5>& entries()
{
    static const std::string publisher = "https://huggingface.co/ggerganov/whisper.cpp/resolve/main/";
    static const std::array<SpeechModel, 5> models{
        SpeechModel{.name = "tiny",
            .file = "ggml-tiny-q5_1.bin",
            .size = 32'152'673,
            .sha256 = "818710568da3ca15689e31a743197b520007872ff9576237bda97bd1b469c3d7",
            .address = publisher + "ggml-tiny-q5_1.bin",
            .description = "Rápido, con más errores",
            .work = 0.5},
        SpeechModel{.name = "base",
            .file = "ggml-base-q5_1.bin",
            .size = 59'707'625,
            .sha256 = "422f1ae452ade6f30a004d7e5c6a43195e4433bc370bf23fac9cc591f01a8898",
            .address = publisher + "ggml-base-q5_1.bin",
            .description = "Equilibrado",
            .work = 1},
        SpeechModel{.name = "small",
            .file = "ggml-small-q5_1.bin",
            .size = 190'085'487,
            .sha256 = "ae85e4a935d7a567bd102fe55afc16bb595bdb618e11b2fc7591bc08120411bb",
            .address = publisher + "ggml-small-q5_1.bin",
            .description = "Preciso",
            .work = 3.5},
        SpeechModel{.name = "medium",
            .file = "ggml-medium-q5_0.bin",
            .size = 539'212'467,
            .sha256 = "19fea4b380c3a618ec4723c3eef2eb785ffba0d0538cf43f8f235e7b3b34220f",
            .address = publisher + "ggml-medium-q5_0.bin",
            .description = "Muy preciso",
            .work = 11},
        SpeechModel{.name = "turbo",
            .file = "ggml-large-v3-turbo-q5_0.bin",
            .size = 574'041'195,
            .sha256 = "394221709cd5ad1f40c46e6031ca61bce88931e6e088c188294c6d5a55ffa7e2",
            .address = publisher + "ggml-large-v3-turbo-q5_0.bin",
            .description = "El más preciso",
            .work = 14},
    };
    return models;
}

/// A valid name, which becomes part of a file name.
bool isName(std::string_view name)
{
    return !name.empty() && !name.starts_with('.') && !name.contains('/');
}

} // namespace

std::span<const SpeechModel> catalogue()
{
    return entries();
}

const SpeechModel* inCatalogue(std::string_view name)
{
    const auto found = std::ranges::find(entries(), name, &SpeechModel::name);
    return found != entries().end() ? &*found : nullptr;
}

fs::path folder()
{
    return dataFolder() / "Modelos";
}

std::vector<fs::path> folders()
{
    std::vector<fs::path> result;
    if (const char* named = std::getenv("ORVO_MODELS")) {
        for (const auto part : std::string_view(named) | std::views::split(':')) {
            if (!part.empty())
                result.emplace_back(std::string_view(part));
        }
    }
    result.push_back(folder());
    result.push_back(ProcessRunner::bundlePath() / "Contents" / "Resources" / "Models");
    return result;
}

std::optional<fs::path> installed(std::string_view name)
{
    if (!isName(name))
        return std::nullopt;
    const SpeechModel* model = inCatalogue(name);
    const std::string file = model ? model->file : std::format("ggml-{}.bin", name);
    for (const auto& place : folders()) {
        std::error_code ignored;
        // A truncated or different file of this name must not hide a complete one.
        const bool whole = !model || fs::file_size(place / file, ignored) == model->size;
        if (whole && fs::is_regular_file(place / file, ignored))
            return place / file;
    }
    return std::nullopt;
}

fs::path require(std::string_view name, const ProgressCallback& progress, const std::stop_token& stop)
{
    if (const auto file = installed(name))
        return *file;
    if (const SpeechModel* model = inCatalogue(name))
        return download(*model, folder(), progress, stop);
    throw captureError(std::format(
        "No existe el modelo de voz «{}». Los que se descargan son tiny, base, small, medium y turbo; los tuyos van en "
        "{} con el nombre ggml-NOMBRE.bin.",
        name, folder().string()));
}

} // namespace orvo::SpeechModels
