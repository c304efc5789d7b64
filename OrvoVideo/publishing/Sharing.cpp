#include "OrvoVideo/publishing/Sharing.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <format>

namespace orvo {

namespace {

using namespace std::string_view_literals;

constexpr std::array spaces{" "sv, "\t"sv, "\n"sv, "\v"sv, "\f"sv, "\r"sv, "\u0085"sv, "\u00A0"sv, "\u1680"sv, "\u2000"sv,
    "\u2001"sv, "\u2002"sv, "\u2003"sv, "\u2004"sv, "\u2005"sv, "\u2006"sv, "\u2007"sv, "\u2008"sv, "\u2009"sv, "\u200A"sv,
    "\u2028"sv, "\u2029"sv, "\u202F"sv, "\u205F"sv, "\u3000"sv};

} // namespace

std::string_view trimmed(std::string_view text)
{
    const auto isFirst = [&](std::string_view space) { return text.starts_with(space); };
    const auto isLast = [&](std::string_view space) { return text.ends_with(space); };
    for (auto found = spaces.begin(); (found = std::ranges::find_if(spaces, isFirst)) != spaces.end();)
        text.remove_prefix(found->size());
    for (auto found = spaces.begin(); (found = std::ranges::find_if(spaces, isLast)) != spaces.end();)
        text.remove_suffix(found->size());
    return text;
}

std::vector<std::string> authorisedDomains(std::string_view text)
{
    std::vector<std::string> domains;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find_first_of(",\n", at), text.size());
        if (const auto domain = trimmed(text.substr(at, end - at)); !domain.empty())
            domains.emplace_back(domain);
        at = end + 1;
    }
    return domains;
}

std::string serverAddress(std::string_view typed)
{
    auto address = trimmed(typed);
    while (address.ends_with('/'))
        address.remove_suffix(1);
    return std::string(address);
}

void refuseUser(std::string_view address)
{
    const std::size_t scheme = address.find("://");
    const std::size_t host = scheme == std::string_view::npos ? 0 : scheme + 3;
    if (address.substr(host, address.find_first_of("/?#", host) - host).contains('@'))
        throw captureError("La dirección del servicio no puede llevar usuario ni contraseña. Escríbela sin ellos.");
}

std::string driveReturnAddress(std::string_view server)
{
    return serverAddress(server) + "/oauth/google/callback";
}

std::string embedCode(std::string_view server, std::string_view videoId)
{
    while (server.starts_with('/'))
        server.remove_prefix(1);
    return std::format("<iframe src=\"{}/embed/{}\" title=\"Orvo Video\" style=\"width:100%;aspect-ratio:16/9;border:0\" "
                       "allow=\"autoplay; fullscreen\" allowfullscreen loading=\"lazy\"></iframe>",
        serverAddress(server), videoId);
}

} // namespace orvo
