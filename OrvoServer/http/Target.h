#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::server {

/// A parsed request target.
struct Target {
    std::vector<std::string> segments; ///< Decoded; never empty, "." or "..", and without "/", "\\" and control
                                       ///< characters.
    bool endsInSlash = false;
    std::string query; ///< As sent, without "?".

    /// The decoded value of a query parameter; nullopt when it is missing or malformed.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// Parses a request target in origin form. Repeated slashes count as one, because a server address that ends in "/" gives
/// "//watch". Returns nullopt for any other form, for invalid percent-encoding, and for segments that could leave a
/// folder.
std::optional<Target> parseTarget(std::string_view text);

/// Decodes percent-encoding; returns nullopt when it is invalid.
std::optional<std::string> percentDecoded(std::string_view text);

/// Matches the segments against a pattern such as "api/videos/{}/revisions" and returns the values for each "{}".
std::optional<std::vector<std::string>> matchRoute(std::string_view pattern, const std::vector<std::string>& segments);

} // namespace orvo::server
