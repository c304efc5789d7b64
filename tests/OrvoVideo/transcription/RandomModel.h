#pragma once

#include <cstdint>
#include <filesystem>

namespace orvo::test {

/// The shape of a speech model.
struct ModelShape {
    std::int32_t vocabulary = 51'865;
    std::int32_t state = 0; ///< Numbers per position.
    std::int32_t heads = 0;
    std::int32_t audioLayers = 0;
    std::int32_t textLayers = 0;
    std::int32_t bands = 80;
};

/// Writes a model file of this shape with random weights. It loads like a real one, but recognises nothing.
void writeRandomModel(const std::filesystem::path& file, const ModelShape& shape);

} // namespace orvo::test
