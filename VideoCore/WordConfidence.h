#pragma once

#include "VideoCore/VideoProject.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orvo {

/// The recogniser's confidence in each word. Stored in a file beside the document; without that file every word is sure.
///
/// An entry holds for a word with the text as recognised: a corrected word is sure, and unsure again when the correction is
/// undone. The file has one line per word, "ID PROBABILITY TEXT"; invalid lines are skipped.
class WordConfidence {
public:
    static constexpr std::string_view fileName = "word-confidence.txt";
    /// A word less probable than this is shown as unsure.
    static constexpr double sure = 0.5;
    /// Words at least this probable are not stored.
    static constexpr double kept = 0.9;

    /// Reads the file in this project's folder. Returns an empty value when there is none or it cannot be read.
    static WordConfidence read(const std::filesystem::path& projectFolder);
    /// Replaces the file. Throws `std::filesystem::filesystem_error`.
    void write(const std::filesystem::path& projectFolder) const;

    /// Adds words as recognised with a probability, 0..1, for each.
    void add(std::span<const TranscriptWord> words, std::span<const float> probabilities);
    /// Removes the entries of all other words.
    void keepOnly(std::span<const TranscriptWord> words);

    /// The probability of a word, 0..1; 1 for an unknown word.
    double of(const TranscriptWord& word) const;
    bool isUnsure(const TranscriptWord& word) const { return of(word) < sure; }
    bool empty() const noexcept { return m_entries.empty(); }

private:
    struct Entry {
        std::string text;
        double probability = 1;
    };

    std::unordered_map<Uuid, Entry> m_entries;
};

} // namespace orvo
