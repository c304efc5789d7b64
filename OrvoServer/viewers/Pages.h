#pragma once

#include "OrvoServer/base/Asset.h"
#include "OrvoServer/http/Message.h"

#include <map>
#include <span>
#include <string>
#include <string_view>

namespace orvo::server {

/// Renders the pages and serves their files.
class Pages {
public:
    /// `assets` contain the three templates. `basePath` precedes every path of the server: "" or "/prefix".
    Pages(std::span<const Asset> assets, std::string basePath, bool isSecure);

    struct Variables {
        std::string lang;
        std::string title;
        std::string config; ///< JSON.
        std::string frameAncestors; ///< The whole directive.
    };

    /// A page from its template "player.html", "unavailable.html" or "admin.html". Never cached; allows only the server's
    /// own scripts.
    Response page(unsigned status, std::string_view name, const Variables& variables) const;

    /// A file below its hash, which browsers cache for ever; 404 for any other.
    Response asset(std::string_view hash, std::string_view name, const Headers& headers) const;

    const std::string& basePath() const { return m_basePath; }

private:
    std::string render(std::string_view text, const Variables& variables) const;

    std::map<std::string_view, Asset> m_assets;
    const std::string m_basePath;
    const bool m_isSecure;
};

/// The preferred language of an Accept-Language header: "es" or "en".
std::string languageOf(std::string_view acceptLanguage);

/// Escapes for text content and double-quoted attributes.
std::string htmlEscaped(std::string_view text);

} // namespace orvo::server
