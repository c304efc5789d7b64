#pragma once

#include <cstddef>
#include <vector>

namespace orvo::model {

/// Frequencies in the spectrum of 400 samples.
inline constexpr std::size_t melFrequencies = 201;

/// The weight of each frequency in each band for audio at 16 kHz: `melFrequencies` numbers per band.
///
/// Triangles of equal area between points that are equidistant on Slaney's mel scale (Auditory Toolbox, 1998): linear
/// below 1 kHz, logarithmic above.
std::vector<float> melFilters(std::size_t bands);

} // namespace orvo::model
