#pragma once

#include <cstddef>
#include <vector>

namespace orvo::model {

/// Frequencies of a spectrum of 400 samples.
inline constexpr std::size_t melFrequencies = 201;

/// How much each frequency of sound at 16 kHz counts in each of the bands, `melFrequencies` numbers for each band.
///
/// Triangles of equal area between points that are equally far apart on Slaney's mel scale (Auditory Toolbox, 1998): linear
/// below 1 kHz, logarithmic above.
std::vector<float> melFilters(std::size_t bands);

} // namespace orvo::model
