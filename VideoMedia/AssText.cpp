#include "VideoMedia/AssText.h"

#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <format>
#include <utility>

namespace orvo::AssText {

std::string stamp(double seconds)
{
    const auto c = std::max<std::int64_t>(truncated(seconds * 100), 0);
    return std::format("{}:{:02}:{:02}.{:02}", c / 360'000, c / 6'000 % 60, c / 100 % 60, c % 100);
}

// The renderer treats a backslash before "N", "n", "h", "{" and "}" as a command and prints any other unchanged, so a
// zero-width word joiner separates them. It drops leading blanks of a line, so these become hard blanks.
std::string escaped(std::string_view text)
{
    constexpr std::string_view wordJoiner = "\u2060";
    constexpr std::string_view hardBlank = "\\h";
    std::string result;
    result.reserve(text.size());
    bool atBeginning = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool wasAtBeginning = std::exchange(atBeginning, false);
        switch (text[i]) {
        case '\\':
            result += '\\';
            result += wordJoiner;
            break;
        case '{':
        case '}':
            result += '\\';
            result += text[i];
            break;
        case ' ':
        case '\t': // Rendered as a blank.
            if (wasAtBeginning)
                result += hardBlank;
            else
                result += ' ';
            atBeginning = wasAtBeginning;
            break;
        case '\r':
            // CR LF is one line break. A raw CR or LF would end the event.
            if (i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            [[fallthrough]];
        case '\n':
            result += "\\N";
            atBeginning = true;
            break;
        case '\0':
            break; // Would end the document.
        default:
            result += text[i];
        }
    }
    return result;
}

} // namespace orvo::AssText
