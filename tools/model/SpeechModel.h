#pragma once

#include <string>

namespace orvo::model {

class WeightFile;
struct Vocabulary;

/// The content of a file that holds the same speech model for ggml, its matrices packed as Q5_1.
///
/// Throws `unusable` when weights are missing or do not fit together.
std::string speechModel(const WeightFile& weights, const Vocabulary& vocabulary);

} // namespace orvo::model
