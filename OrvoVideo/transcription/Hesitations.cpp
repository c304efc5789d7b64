#include "OrvoVideo/transcription/Hesitations.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace orvo::speech {

namespace {

bool isLetter(char c)
{
    return static_cast<unsigned char>(c) >= 0x80 || std::isalpha(static_cast<unsigned char>(c)) != 0;
}

/// Removes opening punctuation and non-ASCII dots and dashes.
std::string withoutMarks(std::string_view word)
{
    std::string result(word);
    for (const std::string_view mark : {"¿", "¡", "…", "—", "–", "«", "»"}) {
        for (auto at = result.find(mark); at != std::string::npos; at = result.find(mark))
            result.erase(at, mark.size());
    }
    return result;
}

/// The letters of a hesitation in lower case without repetitions ("uh", "em", "m"), or empty for a word with other
/// letters.
std::string skeleton(std::string_view word)
{
    std::string result;
    for (const char c : withoutMarks(word)) {
        if (!isLetter(c))
            continue;
        const char low = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!std::string_view("ehmu").contains(low))
            return {};
        if (result.empty() || result.back() != low)
            result += low;
    }
    return result;
}

std::string_view spelling(std::string_view skeleton, std::string_view word)
{
    const auto letters = std::ranges::count_if(withoutMarks(word), isLetter);
    if (skeleton == "eh" || (skeleton == "e" && letters > 1))
        return "eh";
    if (skeleton == "em" || skeleton == "ehm")
        return "em";
    if (skeleton == "uh" || skeleton == "u" || skeleton == "hu")
        return "uh";
    if (skeleton == "um" || skeleton == "uhm")
        return "um";
    if (skeleton == "m" || skeleton == "hm" || skeleton == "mh" || skeleton == "me" || skeleton == "mhm")
        return letters > 1 && (skeleton != "me" || letters > 2) ? "mmm" : "";
    return "";
}

/// A word in lower case without punctuation.
std::string bare(std::string_view word)
{
    std::string result;
    for (const char c : withoutMarks(word)) {
        if (isLetter(c) || std::isdigit(static_cast<unsigned char>(c)) != 0)
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

} // namespace

std::string asHesitation(std::string_view word)
{
    const auto usual = spelling(skeleton(word), word);
    if (usual.empty())
        return {};
    // All letters of a hesitation are ASCII.
    const auto ascii = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; };
    const auto first = std::ranges::find_if(word, ascii);
    const auto last = std::find_if(word.rbegin(), word.rend(), ascii).base();
    std::string result(word.begin(), first);
    result += usual;
    if (std::isupper(static_cast<unsigned char>(*first)) != 0) {
        char& initial = result[static_cast<std::size_t>(first - word.begin())];
        initial = static_cast<char>(std::toupper(static_cast<unsigned char>(initial)));
    }
    return result.append(last, word.end());
}

bool isSameHesitation(std::string_view one, std::string_view other)
{
    return !one.empty() && skeleton(one) == skeleton(other);
}

namespace {

std::vector<std::string> bareTexts(const std::vector<HeardWord>& words)
{
    std::vector<std::string> texts;
    texts.reserve(words.size());
    for (const auto& word : words)
        texts.push_back(bare(word.text));
    return texts;
}

/// Whether a phrase of `length` words occurs `times` times in a row.
bool isSaid(const std::vector<std::string>& texts, std::size_t length, std::size_t times)
{
    std::size_t same = 0;
    for (std::size_t i = length; i < texts.size(); ++i) {
        same = texts[i] == texts[i - length] ? same + 1 : 0;
        if (same >= length * (times - 1))
            return true;
    }
    return false;
}

} // namespace

bool repeatsItself(const std::vector<HeardWord>& words)
{
    constexpr std::size_t maxPhrase = 8;
    // Speakers do not repeat a phrase this often. They do repeat single words more often.
    constexpr std::size_t timesOfPhrase = 3;
    constexpr std::size_t timesOfWord = 5;
    const auto texts = bareTexts(words);
    for (std::size_t length = 1; length <= maxPhrase; ++length) {
        if (isSaid(texts, length, length <= 2 ? timesOfWord : timesOfPhrase))
            return true;
    }
    return false;
}

bool repeatsSentence(const std::vector<HeardWord>& words)
{
    constexpr std::size_t minSentence = 9;
    constexpr std::size_t maxSentence = 20;
    constexpr std::size_t times = 3;
    const auto texts = bareTexts(words);
    for (std::size_t length = minSentence; length <= maxSentence; ++length) {
        if (isSaid(texts, length, times))
            return true;
    }
    return false;
}

} // namespace orvo::speech
