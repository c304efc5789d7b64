#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Synthetic speech for tests, with known text and exact times.
namespace orvo::test {

/// A stretch of speech. Seconds.
struct Said {
    std::string text;
    double start = 0; ///< The first audible sample; the requested time for `makeSpeech`.
    double end = 0; ///< After the last audible sample; set by `makeSpeech`.
};

/// Makes an audio file of `length` seconds in which a Spanish voice speaks the texts at their times. `arguments` are ffmpeg
/// options for the output ("-ar", "8000"). Returns the texts with their end times.
std::vector<Said> makeSpeech(const std::filesystem::path& file, std::vector<Said> texts, double length,
    const std::vector<std::string>& arguments = {"-ar", "16000"});

} // namespace orvo::test
