#include "Vocabulary.h"

#include "WeightFile.h"

#include <array>
#include <ranges>

namespace orvo::model {

namespace {

constexpr std::string_view firstWithoutText = "<|endoftext|>";

constexpr bool seen(unsigned byte)
{
    return (byte >= '!' && byte <= '~') || (byte >= 0xA1 && byte <= 0xAC) || byte >= 0xAE;
}

constexpr int nothing = -1;

/// The byte for each character up to the last used one.
constexpr auto byteOfCharacter = [] {
    std::array<int, 0x144> result{};
    result.fill(nothing);
    std::size_t next = 0x100;
    for (unsigned byte = 0; byte <= 0xFF; ++byte)
        result[seen(byte) ? byte : next++] = static_cast<int>(byte);
    return result;
}();

std::string decoded(std::string_view token)
{
    std::string result;
    for (std::size_t i = 0; i < token.size(); ++i) {
        std::size_t character = static_cast<unsigned char>(token[i]);
        // All used characters take one or two bytes in UTF-8.
        if (character >= 0x80) {
            const unsigned second = ++i < token.size() ? static_cast<unsigned char>(token[i]) : 0;
            const bool pair = (character & 0xE0) == 0xC0 && (second & 0xC0) == 0x80;
            character = pair ? (character & 0x1F) << 6 | (second & 0x3F) : byteOfCharacter.size();
        }
        if (character >= byteOfCharacter.size() || byteOfCharacter[character] == nothing)
            throw unusable("el vocabulario tiene caracteres que no le corresponden.");
        result += static_cast<char>(byteOfCharacter[character]);
    }
    return result;
}

} // namespace

Vocabulary readVocabulary(std::string_view lines)
{
    Vocabulary result{};
    bool text = true;
    if (lines.ends_with('\n'))
        lines.remove_suffix(1);
    for (const auto line : lines | std::views::split('\n')) {
        const std::string_view token(line);
        text = text && token != firstWithoutText;
        if (text)
            result.texts.push_back(decoded(token));
        ++result.total;
    }
    if (text)
        throw unusable("el vocabulario está incompleto.");
    return result;
}

} // namespace orvo::model
