#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvo::model {

/// The tokens of a speech model.
struct Vocabulary {
    std::size_t total; ///< All tokens, including those without text (languages, times).
    std::vector<std::string> texts; ///< The bytes of each text token; these come first.
};

/// Reads a vocabulary with one token per line.
///
/// Each byte of a token is written as a visible character: itself if it is one in Latin-1, otherwise the next free one
/// from U+0100. Throws `unusable` for other characters, and without an end-of-text token.
Vocabulary readVocabulary(std::string_view lines);

} // namespace orvo::model
