#include "OrvoServer/http/Target.h"

#include <algorithm>
#include <ranges>

namespace orvo::server {

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool isSafeSegment(std::string_view segment)
{
    const auto isUnsafe = [](char c) { return c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return segment != "." && segment != ".." && std::ranges::none_of(segment, isUnsafe);
}

} // namespace

std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        if (i + 2 >= text.size())
            return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return decoded;
}

std::optional<std::string> Target::parameter(std::string_view name) const
{
    for (const auto part : std::views::split(query, '&')) {
        const std::string_view pair(part);
        const auto equals = pair.find('=');
        if (pair.substr(0, equals) != name)
            continue;
        std::string value(equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1));
        std::ranges::replace(value, '+', ' ');
        return percentDecoded(value);
    }
    return std::nullopt;
}

std::optional<Target> parseTarget(std::string_view text)
{
    if (!text.starts_with('/'))
        return std::nullopt;
    Target target;
    const auto question = text.find('?');
    if (question != std::string_view::npos)
        target.query = text.substr(question + 1);
    const std::string_view path = text.substr(0, question);
    target.endsInSlash = path.ends_with('/');
    for (const auto part : std::views::split(path, '/')) {
        const std::string_view raw(part);
        if (raw.empty())
            continue;
        auto segment = percentDecoded(raw);
        if (!segment || !isSafeSegment(*segment))
            return std::nullopt;
        target.segments.push_back(*std::move(segment));
    }
    return target;
}

std::optional<std::vector<std::string>> matchRoute(std::string_view pattern, const std::vector<std::string>& segments)
{
    std::vector<std::string> values;
    std::size_t index = 0;
    for (const auto part : std::views::split(pattern, '/')) {
        const std::string_view expected(part);
        if (index == segments.size())
            return std::nullopt;
        if (expected == "{}")
            values.push_back(segments[index]);
        else if (expected != segments[index])
            return std::nullopt;
        ++index;
    }
    if (index != segments.size())
        return std::nullopt;
    return values;
}

} // namespace orvo::server
