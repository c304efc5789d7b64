#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvo::model {

/// What a speech model can write.
struct Vocabulary {
    std::size_t total; ///< Of all tokens, those that stand for no text (languages, times) included.
    std::vector<std::string> texts; ///< The bytes of each token that stands for text; they come first.
};

/// Reads a vocabulary of one token on each line.
///
/// Each byte of a token is written there as a character that can be seen: itself where it is one in Latin-1, otherwise the
/// next free one from U+0100 on. Throws `unusable` for other characters, and when no token ends the text.
Vocabulary readVocabulary(std::string_view lines);

} // namespace orvo::model
