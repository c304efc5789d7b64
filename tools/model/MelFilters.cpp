#include "MelFilters.h"

#include <algorithm>
#include <cmath>

namespace orvo::model {

namespace {

constexpr double nyquist = 8000;
constexpr double bend = 1000; ///< Hertz; the scale is linear below and logarithmic above.
constexpr double hertzPerMel = 200.0 / 3;
constexpr double melsAtBend = bend / hertzPerMel;
const double logarithmOfMel = std::log(6.4) / 27;

double hertz(double mel)
{
    return mel < melsAtBend ? hertzPerMel * mel : bend * std::exp(logarithmOfMel * (mel - melsAtBend));
}

} // namespace

std::vector<float> melFilters(std::size_t bands)
{
    const double top = melsAtBend + std::log(nyquist / bend) / logarithmOfMel;
    const auto point = [&](std::size_t i) { return hertz(top * static_cast<double>(i) / static_cast<double>(bands + 1)); };
    std::vector<float> result;
    for (std::size_t band = 0; band < bands; ++band) {
        const double start = point(band);
        const double peak = point(band + 1);
        const double end = point(band + 2);
        for (std::size_t i = 0; i < melFrequencies; ++i) {
            const double frequency = nyquist * static_cast<double>(i) / (melFrequencies - 1);
            // Negated like this for the same sign of zero as in the published models' filters.
            const double rise = -(start - frequency) / (peak - start);
            const double fall = (end - frequency) / (end - peak);
            // The models were trained with heights rounded to float.
            const auto height = static_cast<float>(std::max(std::min(rise, fall), 0.0));
            result.push_back(static_cast<float>(height * (2 / (end - start))));
        }
    }
    return result;
}

} // namespace orvo::model
