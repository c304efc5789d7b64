#pragma once

#include <string>

namespace orvo::model {

class WeightFile;
struct Vocabulary;

/// The content of a ggml file with the same speech model, its matrices quantised as Q5_1.
///
/// Throws `unusable` if weights are missing or inconsistent.
std::string speechModel(const WeightFile& weights, const Vocabulary& vocabulary);

} // namespace orvo::model
