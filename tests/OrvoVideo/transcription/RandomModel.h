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

/// How the matrices are stored.
enum class Weights : std::uint8_t { halves, packed /**< Q5_0 */ };

/// Writes a model file of this shape whose weights are random: it takes the time of a real one, and hears nothing.
void writeRandomModel(const std::filesystem::path& file, const ModelShape& shape, Weights weights = Weights::halves);

} // namespace orvo::test
