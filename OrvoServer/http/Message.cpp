#include "OrvoServer/http/Message.h"

#include "OrvoServer/base/Json.h"

#include <algorithm>
#include <array>

namespace orvo::server {

std::string_view nameOf(Method method)
{
    constexpr std::array<std::string_view, 8> names{"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "other"};
    return names.at(static_cast<std::size_t>(method));
}

bool equalsIgnoringCase(std::string_view one, std::string_view other)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(one, other, {}, lower, lower);
}

std::string_view Headers::operator[](std::string_view name) const
{
    for (const auto& [field, value] : m_fields) {
        if (equalsIgnoringCase(field, name))
            return value;
    }
    return {};
}

std::size_t Headers::count(std::string_view name) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(m_fields, [&](const auto& field) { return equalsIgnoringCase(field.first, name); }));
}

std::uint64_t Response::bodySize() const
{
    if (const auto* file = std::get_if<FileBody>(&body))
        return file->length;
    if (const auto* text = std::get_if<std::string>(&body))
        return text->size();
    return std::get<std::string_view>(body).size();
}

Response jsonResponse(unsigned status, std::string json)
{
    Response response{.status = status, .body = std::move(json)};
    response.with("Content-Type", "application/json; charset=utf-8").with("Cache-Control", "no-store");
    return response;
}

Response errorResponse(unsigned status, std::string_view text)
{
    return jsonResponse(status, errorJson(text));
}

} // namespace orvo::server
