#include "OrvoServer/viewers/Domains.h"

#include <idn2.h>

#include <algorithm>
#include <charconv>
#include <format>
#include <memory>
#include <ranges>

namespace orvo::server {

namespace {

constexpr std::size_t maxDomains = 200;

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// A host name in lower-case ASCII; nullopt for anything else, including IPv6 addresses.
std::optional<std::string> hostName(std::string_view text)
{
    if (text.empty() || text.size() > 1000 || text.contains('\0'))
        return std::nullopt;
    char* converted = nullptr;
    if (idn2_to_ascii_8z(std::string(text).c_str(), &converted, IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL) != IDN2_OK)
        return std::nullopt;
    const std::unique_ptr<char, void (*)(void*)> owner(converted, &idn2_free);
    std::string host(converted);
    std::ranges::transform(host, host.begin(), lower);
    if (host.ends_with('.'))
        host.pop_back();
    if (host.empty() || host.size() > 253)
        return std::nullopt;
    for (const auto part : std::views::split(host, '.')) {
        const std::string_view label(part);
        const auto isAllowed = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; };
        if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-'
            || !std::ranges::all_of(label, isAllowed))
            return std::nullopt;
    }
    return host;
}

unsigned defaultPort(std::string_view scheme)
{
    return scheme == "http" ? 80 : 443;
}

struct Parsed {
    bool hasScheme = false;
    bool hasPort = false;
    bool isWildcard = false;
    Origin origin;
};

std::optional<Parsed> parse(std::string_view text)
{
    Parsed parsed;
    parsed.origin.scheme = "https";
    if (const auto end = text.find("://"); end != std::string_view::npos) {
        std::string scheme(text.substr(0, end));
        std::ranges::transform(scheme, scheme.begin(), lower);
        if (scheme != "http" && scheme != "https")
            return std::nullopt;
        parsed.hasScheme = true;
        parsed.origin.scheme = scheme;
        text.remove_prefix(end + 3);
    }
    text = text.substr(0, text.find_first_of("/?#"));
    if (text.starts_with("*.")) {
        parsed.isWildcard = true;
        text.remove_prefix(2);
    }
    parsed.origin.port = defaultPort(parsed.origin.scheme);
    if (const auto colon = text.find(':'); colon != std::string_view::npos) {
        const std::string_view digits = text.substr(colon + 1);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed.origin.port);
        if (error != std::errc() || end != digits.data() + digits.size() || parsed.origin.port == 0
            || parsed.origin.port > 65535)
            return std::nullopt;
        parsed.hasPort = true;
        text = text.substr(0, colon);
    }
    auto host = hostName(text);
    // A whole top-level domain is too wide.
    if (!host || (parsed.isWildcard && !host->contains('.')))
        return std::nullopt;
    parsed.origin.host = *std::move(host);
    return parsed;
}

} // namespace

std::string Origin::text() const
{
    const std::string base = scheme + "://" + host;
    return port == defaultPort(scheme) ? base : std::format("{}:{}", base, port);
}

std::optional<Origin> originOf(std::string_view address)
{
    const auto parsed = parse(trimmed(address));
    if (!parsed || !parsed->hasScheme || parsed->isWildcard)
        return std::nullopt;
    return parsed->origin;
}

std::string AuthorisedDomain::source() const
{
    if (!isWildcard)
        return origin.text();
    Origin subdomains = origin;
    subdomains.host = "*." + origin.host;
    return subdomains.text();
}

bool AuthorisedDomain::matches(const Origin& page) const
{
    if (page.scheme != origin.scheme || page.port != origin.port)
        return false;
    return isWildcard ? page.host.ends_with("." + origin.host) : page.host == origin.host;
}

void AuthorisedDomains::add(std::string_view typed)
{
    const auto parsed = parse(trimmed(typed));
    if (!parsed) {
        throw captureError(
            std::format("«{}» no es un dominio que se pueda autorizar. Escribe un dominio completo, como www.ejemplo.es.",
                typed.substr(0, 300)));
    }
    const auto append = [&](Origin origin) {
        AuthorisedDomain domain{.origin = std::move(origin), .isWildcard = parsed->isWildcard};
        if (!std::ranges::contains(m_entries, domain))
            m_entries.push_back(std::move(domain));
    };
    append(parsed->origin);
    if (!parsed->hasScheme && (parsed->origin.host == "localhost" || parsed->origin.host == "127.0.0.1"))
        append({.scheme = "http", .host = parsed->origin.host, .port = parsed->hasPort ? parsed->origin.port : 80});
}

AuthorisedDomains::AuthorisedDomains(const std::vector<std::string>& typed)
{
    if (typed.size() > maxDomains)
        throw captureError(std::format("La lista tiene más de {} dominios.", maxDomains));
    for (const auto& text : typed)
        add(text);
}

AuthorisedDomains AuthorisedDomains::usable(const std::vector<std::string>& typed)
{
    AuthorisedDomains domains;
    for (const auto& text : typed) {
        try {
            domains.add(text);
        } catch (const Error&) {
            // The entry was valid when stored. If the rules are stricter now, it grants nothing.
        }
    }
    return domains;
}

std::string AuthorisedDomains::frameAncestors() const
{
    std::string directive = "frame-ancestors";
    for (const auto& entry : m_entries)
        directive += " " + entry.source();
    return m_entries.empty() ? directive + " 'none'" : directive;
}

bool AuthorisedDomains::allows(const Origin& page) const
{
    return std::ranges::any_of(m_entries, [&](const auto& entry) { return entry.matches(page); });
}

} // namespace orvo::server
