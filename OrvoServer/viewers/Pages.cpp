#include "OrvoServer/viewers/Pages.h"

#include <charconv>
#include <format>
#include <ranges>

namespace orvo::server {

namespace {

bool accepts(std::string_view header, std::string_view coding)
{
    for (const auto part : std::views::split(header, ',')) {
        std::string_view item(part);
        while (item.starts_with(' '))
            item.remove_prefix(1);
        const auto semicolon = item.find(';');
        if (equalsIgnoringCase(item.substr(0, semicolon), coding))
            return semicolon == std::string_view::npos || !item.substr(semicolon).ends_with("q=0");
    }
    return false;
}

} // namespace

std::string htmlEscaped(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            // HTML cannot represent the other control characters.
            escaped += static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' ? ' ' : c;
        }
    }
    return escaped;
}

std::string languageOf(std::string_view acceptLanguage)
{
    double bestQuality = -1;
    std::string best = "es";
    for (const auto part : std::views::split(acceptLanguage, ',')) {
        std::string_view item(part);
        while (item.starts_with(' '))
            item.remove_prefix(1);
        double quality = 1;
        if (const auto q = item.find(";q="); q != std::string_view::npos)
            std::from_chars(item.data() + q + 3, item.data() + item.size(), quality);
        const std::string_view language = item.substr(0, 2);
        const bool isKnown = equalsIgnoringCase(language, "es") || equalsIgnoringCase(language, "en");
        if (isKnown && quality > bestQuality) {
            bestQuality = quality;
            best = equalsIgnoringCase(language, "en") ? "en" : "es";
        }
    }
    return best;
}

Pages::Pages(std::span<const Asset> assets, std::string basePath, bool isSecure)
    : m_basePath(std::move(basePath))
    , m_isSecure(isSecure)
{
    for (const auto& asset : assets)
        m_assets.emplace(asset.name, asset);
}

std::string Pages::render(std::string_view text, const Variables& variables) const
{
    std::string out;
    while (true) {
        const auto open = text.find("{{");
        const auto close = open == std::string_view::npos ? open : text.find("}}", open);
        if (close == std::string_view::npos)
            return out.append(text);
        out.append(text.substr(0, open));
        const std::string_view name = text.substr(open + 2, close - open - 2);
        constexpr std::string_view assetPrefix = "asset:";
        if (name == "title") {
            out += htmlEscaped(variables.title);
        } else if (name == "lang") {
            out += htmlEscaped(variables.lang);
        } else if (name == "config") {
            out += htmlEscaped(variables.config);
        } else if (name == "base") {
            out += htmlEscaped(m_basePath);
        } else if (name.starts_with(assetPrefix)) {
            const auto found = m_assets.find(name.substr(assetPrefix.size()));
            if (found != m_assets.end())
                out += std::format("{}/assets/{}/{}", htmlEscaped(m_basePath), found->second.hash, found->second.name);
        }
        text.remove_prefix(close + 2);
    }
}

Response Pages::page(unsigned status, std::string_view name, const Variables& variables) const
{
    Response response{.status = status, .body = render(m_assets.at(name).bytes, variables)};
    response.with("Content-Type", "text/html; charset=utf-8")
        .with("Cache-Control", "no-store")
        .with("Referrer-Policy", "no-referrer")
        .with("Vary", "Accept-Language, Sec-Fetch-Dest")
        .with("Content-Security-Policy",
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; media-src 'self' blob:;"
            " connect-src 'self'; worker-src 'self' blob:; font-src 'self'; base-uri 'none'; form-action 'self'; "
                + variables.frameAncestors);
    if (m_isSecure)
        response.with("Strict-Transport-Security", "max-age=31536000");
    return response;
}

Response Pages::asset(std::string_view hash, std::string_view name, const Headers& headers) const
{
    const auto found = m_assets.find(name);
    if (found == m_assets.end() || found->second.hash != hash)
        return errorResponse(404, "No existe.");
    const bool isCompressed = !found->second.gzip.empty() && accepts(headers["Accept-Encoding"], "gzip");
    Response response{.body = isCompressed ? found->second.gzip : found->second.bytes};
    response.with("Content-Type", std::string(found->second.type))
        .with("Cache-Control", "public, max-age=31536000, immutable")
        .with("Vary", "Accept-Encoding")
        // A player in a sandboxed frame has no origin.
        .with("Access-Control-Allow-Origin", "*")
        .with("Cross-Origin-Resource-Policy", "cross-origin");
    if (isCompressed)
        response.with("Content-Encoding", "gzip");
    return response;
}

} // namespace orvo::server
