#include "cli/TextColumns.h"

#include "VideoCore/Utf8.h"

#include <algorithm>
#include <numeric>
#include <utf8proc.h>
#include <vector>

namespace orvo::cli {

namespace {

constexpr std::string_view ellipsis = "…";

bool isControl(utf8proc_int32_t value)
{
    switch (utf8proc_category(value)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return true;
    default:
        // Direction marks could disguise the content of a line.
        return (value >= 0x202A && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
    }
}

std::size_t width(const CodePoint& point)
{
    return point.value < 0 ? 1 : static_cast<std::size_t>(std::max(0, utf8proc_charwidth(point.value)));
}

/// The number of insertions, deletions, substitutions and swaps of neighbouring letters between two words.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                current[j] = std::min(current[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last[b.size()];
}

std::string lowerCase(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    return result;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const CodePoint point = takeCodePoint(text);
        if (point.value < 0)
            result += replacementCharacter;
        else if (isControl(point.value))
            result += ' ';
        else
            result += point.bytes;
    }
    return result;
}

std::string inQuotes(std::string_view text)
{
    return "«" + printable(text) + "»";
}

std::size_t columns(std::string_view text)
{
    std::size_t count = 0;
    while (!text.empty())
        count += width(takeCodePoint(text));
    return count;
}

std::string shortened(std::string_view text, std::size_t room)
{
    if (columns(text) <= room)
        return std::string(text);
    std::string result;
    std::size_t used = columns(ellipsis);
    while (!text.empty()) {
        const CodePoint point = takeCodePoint(text);
        used += width(point);
        if (used > room)
            break;
        result += point.bytes;
    }
    return result + std::string(ellipsis);
}

std::optional<std::string_view> nearest(std::string_view text, std::span<const std::string_view> candidates)
{
    constexpr std::size_t maxLength = 40; // Longer than every name.
    if (text.empty() || text.size() > maxLength)
        return std::nullopt;
    const std::string written = lowerCase(text);
    const auto begins = [&](std::string_view candidate) { return lowerCase(candidate).starts_with(written); };
    if (written.size() >= 3 && std::ranges::count_if(candidates, begins) == 1)
        return *std::ranges::find_if(candidates, begins);
    const auto away = [&](std::string_view candidate) { return distance(written, lowerCase(candidate)); };
    const auto best = std::ranges::min_element(candidates, {}, away);
    if (best == candidates.end() || away(*best) > std::max<std::size_t>(1, std::min(written.size(), best->size()) / 3))
        return std::nullopt;
    return *best;
}

std::string suggestion(std::string_view text, std::span<const std::string_view> candidates)
{
    const auto meant = nearest(text, candidates);
    return meant ? " ¿Querías decir " + inQuotes(*meant) + "?" : "";
}

} // namespace orvo::cli
