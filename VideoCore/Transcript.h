#pragma once

#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A transcript as readable text: paragraphs, sentences and the pauses between words. Pure functions.
namespace orvo::Transcript {

inline constexpr double paragraphPause = 0.7; ///< A pause this long behind a sentence begins a paragraph, in seconds.
inline constexpr std::size_t paragraphWords = 40; ///< A paragraph longer than this ends with the next sentence or clause.
inline constexpr std::size_t maxParagraphWords = 80; ///< The limit where no sentence or clause ends.
inline constexpr double shownPause = 0.5; ///< A silence of at least this is shown as a pause, in seconds.

/// The words of a transcript from `first` up to, not including, `end`.
struct WordRange {
    std::size_t first = 0;
    std::size_t end = 0;

    std::size_t size() const noexcept { return end - first; }

    friend bool operator==(const WordRange&, const WordRange&) = default;
};

/// Whether a word ends a sentence: it ends in a full stop, question or exclamation mark or an ellipsis, whatever quotes and
/// brackets follow.
bool endsSentence(std::string_view word);

/// Whether a word ends in a comma, a colon or a semicolon.
bool endsClause(std::string_view word);

/// The paragraphs of a transcript in order. Every word is in exactly one.
std::vector<WordRange> paragraphs(std::span<const TranscriptWord> words);

/// The sentence, within its paragraph, that contains the word at `index`, which must be valid.
WordRange sentenceAt(std::span<const TranscriptWord> words, const WordRange& paragraph, std::size_t index);

/// A silence of at least `shownPause` before a word, or behind the last one.
struct Pause {
    std::size_t before = 0; ///< The index of the word after it; the number of words for the silence at the end.
    TimeSpan span; ///< On the recording timeline.

    friend bool operator==(const Pause&, const Pause&) = default;
};

/// The pauses of a recording of `duration` seconds, in order. Returns an empty list without words.
std::vector<Pause> pauses(std::span<const TranscriptWord> words, double duration);

/// The seconds of a stretch that remain after these merged cuts (see `Timeline::merged`).
double remaining(const TimeSpan& span, std::span<const TimeSpan> merged);

/// Whether these merged cuts remove a word entirely. A word may extend a little past the end of the recording.
bool isCut(const TranscriptWord& word, std::span<const TimeSpan> merged, double duration);

enum class TextFormat : std::uint8_t {
    plain, ///< Paragraphs with an empty line between them.
    markdown, ///< The title as a heading, and the time of every paragraph before it.
};

/// The words that remain after the cuts, as a text with paragraphs. Times are on the output timeline. Ends with a line
/// break unless it is empty.
std::string text(const VideoProject& project, TextFormat format);

} // namespace orvo::Transcript
