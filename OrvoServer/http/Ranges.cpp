#include "OrvoServer/http/Ranges.h"

#include <algorithm>
#include <charconv>

namespace orvo::server {

namespace {

/// Consumes a decimal number at the start of `text`. Rejects signs, and fewer than 1 or more than 19 digits.
std::optional<std::uint64_t> takeNumber(std::string_view& text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto end = std::ranges::find_if_not(text, isDigit);
    const auto length = static_cast<std::size_t>(end - text.begin());
    if (length == 0 || length > 19)
        return std::nullopt;
    std::uint64_t value = 0;
    if (std::from_chars(text.data(), text.data() + length, value).ec != std::errc())
        return std::nullopt;
    text.remove_prefix(length);
    return value;
}

bool take(std::string_view& text, std::string_view expected)
{
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

} // namespace

std::optional<ContentRange> parseContentRange(std::string_view text)
{
    if (!take(text, "bytes "))
        return std::nullopt;
    const auto first = takeNumber(text);
    if (!first || !take(text, "-"))
        return std::nullopt;
    const auto last = takeNumber(text);
    if (!last || !take(text, "/"))
        return std::nullopt;
    const auto size = takeNumber(text);
    if (!size || !text.empty() || *last < *first || *size <= *last)
        return std::nullopt;
    return ContentRange{.bytes = {.first = *first, .last = *last}, .size = *size};
}

std::variant<NoRange, ByteRange> parseRange(std::string_view text, std::uint64_t size)
{
    if (!take(text, "bytes="))
        return NoRange::whole;
    const auto first = takeNumber(text);
    if (!take(text, "-"))
        return NoRange::whole;
    const auto last = takeNumber(text);
    if (!text.empty() || (!first && !last) || (first && last && *last < *first))
        return NoRange::whole;
    if (!first) {
        if (*last == 0 || size == 0)
            return NoRange::unsatisfiable;
        return ByteRange{.first = size - std::min(*last, size), .last = size - 1};
    }
    if (*first >= size)
        return NoRange::unsatisfiable;
    return ByteRange{.first = *first, .last = std::min(last.value_or(size - 1), size - 1)};
}

} // namespace orvo::server
