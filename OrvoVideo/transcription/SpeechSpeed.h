#pragma once

#include "OrvoVideo/transcription/SpeechModels.h"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string_view>

/// The speed of the speech models on this machine. A rate is the seconds that a model takes for one second of speech.
///
/// `measure` runs an installed model on a built-in sample and stores its rate in the folder of the models. The rates of the
/// other models are derived from it; without a measurement, they are estimated from the number of processors. Thread-safe.
namespace orvo::SpeechSpeed {

/// Maximum rate of the model that `best` proposes.
inline constexpr double maxRate = 0.5;

struct Rate {
    double value = 0;
    bool isMeasured = false; ///< With this model, on this machine.
};

/// The measured or estimated rate of a model. Reads one small file.
Rate rate(const SpeechModel& model);

/// Recognises the built-in sample with an installed model, and stores and returns its rate.
///
/// Blocks for seconds. Throws `captureError` when the model is damaged or the sample is missing, file system errors
/// unchanged, and `Cancelled`.
double measure(const SpeechModel& model, const std::stop_token& stop = {});

/// Whether the machine has twice the memory that the model needs.
bool fits(const SpeechModel& model);

/// The most precise model of the catalogue that fits and whose rate is at most `maxRate`; else the fastest one.
const SpeechModel& best();

} // namespace orvo::SpeechSpeed
