#pragma once

#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// A text without case and accents, as a key for sorting and searching: "Álgebra" sorts before "baile". Text that is not
/// UTF-8 stays unchanged.
std::string folded(const std::string& text);

/// The words of a transcript, prepared for searches that ignore case, accents and the punctuation between words.
class TextSearch {
public:
    /// The place of a match: from a byte of one word to a byte of the same or a later word.
    struct Hit {
        std::size_t first = 0; ///< The index of the first word.
        std::size_t firstByte = 0; ///< Where the hit begins in its text.
        std::size_t last = 0; ///< The index of the last word.
        std::size_t lastEnd = 0; ///< Behind the end of the hit in its text.

        friend bool operator==(const Hit&, const Hit&) = default;
    };

    explicit TextSearch(std::span<const TranscriptWord> words);

    /// Every place where the words of `text` follow one another, in order and disjoint. The first one may be the end of a
    /// longer word, and the last one the beginning. Returns no hits for a text of blanks.
    std::vector<Hit> find(std::string_view text) const;

private:
    /// A character without case and accents, and the bytes it comes from.
    struct Letter {
        std::int32_t character = 0;
        std::uint32_t word = 0;
        std::uint32_t begin = 0;
        std::uint32_t end = 0;
    };

    static void fold(std::string_view text, std::uint32_t word, std::vector<Letter>& letters);
    /// The index behind a match of `wanted` that begins at letter `at`; 0 without a match.
    std::size_t match(std::span<const Letter> wanted, std::size_t at) const;

    std::vector<Letter> m_letters; ///< The letters of all words, with a blank between two words.
};

} // namespace orvo
