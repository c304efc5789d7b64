#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Spoken sound for tests, with what is said and when known exactly.
namespace orvo::test {

/// A stretch of speech. Seconds.
struct Said {
    std::string text;
    double start = 0; ///< Its first audible sample; where it is to be, for `makeSpeech`.
    double end = 0; ///< Behind its last one; filled in by `makeSpeech`.
};

/// Makes a sound file of this length in which a Spanish voice says the texts at their times. `arguments` are options of
/// ffmpeg for the output ("-ar", "8000"). Returns the texts with where they end.
std::vector<Said> makeSpeech(const std::filesystem::path& file, std::vector<Said> texts, double length,
    const std::vector<std::string>& arguments = {"-ar", "16000"});

} // namespace orvo::test
