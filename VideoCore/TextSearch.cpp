#include "VideoCore/TextSearch.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <utf8proc.h>

namespace orvo {

namespace {

bool isBlank(std::int32_t character)
{
    return character == ' ' || character == 0xA0 || (character >= '\t' && character <= '\r');
}

bool isLetterOrDigit(std::int32_t character)
{
    if (character < 0x80)
        return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
    const auto category = utf8proc_category(character);
    return (category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_LO)
        || (category >= UTF8PROC_CATEGORY_ND && category <= UTF8PROC_CATEGORY_NO);
}

} // namespace

std::string folded(const std::string& text)
{
    utf8proc_uint8_t* mapped = nullptr;
    const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
        static_cast<utf8proc_ssize_t>(text.size()), &mapped,
        static_cast<utf8proc_option_t>(
            UTF8PROC_STABLE | UTF8PROC_COMPAT | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD | UTF8PROC_STRIPMARK));
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(mapped, &std::free);
    return length < 0 ? text : std::string(reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length));
}

TextSearch::TextSearch(std::span<const TranscriptWord> words)
{
    m_letters.reserve(words.size() * 8);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto word = static_cast<std::uint32_t>(i);
        fold(words[i].text, word, m_letters);
        const auto size = static_cast<std::uint32_t>(words[i].text.size());
        m_letters.push_back({' ', word, size, size});
    }
}

void TextSearch::fold(std::string_view text, std::uint32_t word, std::vector<Letter>& letters)
{
    constexpr auto options = static_cast<utf8proc_option_t>(
        UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT | UTF8PROC_CASEFOLD | UTF8PROC_STRIPMARK);
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    std::size_t at = 0;
    while (at < text.size()) {
        const auto begin = static_cast<std::uint32_t>(at);
        const auto byte = bytes[at];
        if (byte < 0x80) {
            const bool isCapital = byte >= 'A' && byte <= 'Z';
            letters.push_back({isCapital ? byte - 'A' + 'a' : byte, word, begin, begin + 1});
            ++at;
            continue;
        }
        utf8proc_int32_t codePoint = 0;
        const auto length = utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &codePoint);
        if (length <= 0) { // Not UTF-8: matches only the same byte.
            letters.push_back({-static_cast<std::int32_t>(byte), word, begin, begin + 1});
            ++at;
            continue;
        }
        at += static_cast<std::size_t>(length);
        const auto end = static_cast<std::uint32_t>(at);
        std::array<utf8proc_int32_t, 32> parts{};
        int last = 0;
        const auto count = utf8proc_decompose_char(codePoint, parts.data(), parts.size(), options, &last);
        for (utf8proc_ssize_t i = 0; i < count && i < std::ssize(parts); ++i)
            letters.push_back({parts[static_cast<std::size_t>(i)], word, begin, end});
        if (count == 0 && !letters.empty() && letters.back().word == word) // A combining mark of the letter before it.
            letters.back().end = end;
    }
}

std::size_t TextSearch::match(std::span<const Letter> wanted, std::size_t at) const
{
    for (std::size_t i = 0; i < wanted.size();) {
        if (at == m_letters.size())
            return 0;
        if (!isBlank(wanted[i].character)) {
            if (m_letters[at++].character != wanted[i++].character)
                return 0;
            continue;
        }
        // Punctuation may stand beside the blank between two words.
        bool parted = false;
        while (at < m_letters.size() && !isLetterOrDigit(m_letters[at].character)
            && m_letters[at].character != wanted[i + 1].character) {
            parted = parted || isBlank(m_letters[at].character);
            ++at;
        }
        if (!parted)
            return 0;
        ++i;
    }
    return at;
}

std::vector<TextSearch::Hit> TextSearch::find(std::string_view text) const
{
    std::vector<Letter> folded;
    fold(text, 0, folded);
    std::vector<Letter> wanted; // One blank between its words, none at its ends.
    for (const auto& letter : folded) {
        if (!isBlank(letter.character))
            wanted.push_back(letter);
        else if (!wanted.empty() && !isBlank(wanted.back().character))
            wanted.push_back({.character = ' '});
    }
    if (!wanted.empty() && isBlank(wanted.back().character))
        wanted.pop_back();
    std::vector<Hit> hits;
    if (wanted.empty())
        return hits;
    for (std::size_t at = 0; at < m_letters.size();) {
        const std::size_t end = m_letters[at].character == wanted.front().character ? match(wanted, at) : 0;
        if (end == 0) {
            ++at;
            continue;
        }
        hits.push_back({m_letters[at].word, m_letters[at].begin, m_letters[end - 1].word, m_letters[end - 1].end});
        at = end;
    }
    return hits;
}

} // namespace orvo
