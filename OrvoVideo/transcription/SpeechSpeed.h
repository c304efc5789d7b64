#pragma once

#include "OrvoVideo/transcription/SpeechModels.h"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string_view>

/// How fast the speech models are on this machine. A rate is the seconds that a model takes for one second of speech.
///
/// A rate is measured with a built-in sample where the model is installed, and kept in the folder of the models. From the
/// rate of one model follow those of the others; without any, they are estimated from the number of processors.
/// Thread-safe.
namespace orvo::SpeechSpeed {

/// A model that is faster than this is not waited for.
inline constexpr double maxRate = 0.5;

struct Rate {
    double value = 0;
    bool isMeasured = false; ///< With this model, on this machine.
};

/// What is known of a model now. Reads one small file.
Rate rate(const SpeechModel& model);

/// Recognises the built-in sample with an installed model and keeps its rate.
///
/// Blocks for seconds. Throws `captureError` when the model is damaged or the sample is missing, file system errors
/// unchanged, and `Cancelled`.
double measure(const SpeechModel& model, const std::stop_token& stop = {});

/// Whether the machine has twice the memory that the model needs.
bool fits(const SpeechModel& model);

/// The most precise model of the catalogue that is at most `maxRate` slow and fits; the fastest when none is.
const SpeechModel& best();

} // namespace orvo::SpeechSpeed
