#pragma once

#include "VideoCore/VideoProject.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orvo {

/// How sure the recogniser was of the words that it heard. A value kept beside the document, in a file of its own: without
/// that file every word counts as sure.
///
/// Entries belong to a word and its text as recognised: a word that was corrected is sure, and unsure again when the
/// correction is undone. The file has a line for each word, "ID PROBABILITY TEXT"; lines that are none of these are skipped.
class WordConfidence {
public:
    static constexpr std::string_view fileName = "word-confidence.txt";
    /// A word less probable than this is shown as unsure.
    static constexpr double sure = 0.5;
    /// More probable words are not kept.
    static constexpr double kept = 0.9;

    /// What is kept in this project's folder; nothing when there is no file or it cannot be read.
    static WordConfidence read(const std::filesystem::path& projectFolder);
    /// Replaces the file. Throws `std::filesystem::filesystem_error`.
    void write(const std::filesystem::path& projectFolder) const;

    /// Adds words as recognised with a probability, 0..1, for each.
    void add(std::span<const TranscriptWord> words, std::span<const float> probabilities);
    /// Forgets every word but these.
    void keepOnly(std::span<const TranscriptWord> words);

    /// The probability of a word, 0..1; 1 when nothing is known of it.
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
