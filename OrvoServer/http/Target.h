#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::server {

/// The target of a request, taken apart.
struct Target {
    std::vector<std::string> segments; ///< Decoded. Never empty, ".", ".." and without "/", "\\" and control characters.
    bool endsInSlash = false;
    std::string query; ///< As sent, without "?".

    /// The decoded value of a parameter of the query; nullopt when it is missing or not well-formed.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// Reads the origin-form of a request target. Repeated slashes count as one, since an address that ends in "/" gives
/// "//watch". Returns nullopt for any other form, for broken percent-encoding, and for what could leave a folder.
std::optional<Target> parseTarget(std::string_view text);

/// Decodes percent-encoding; nullopt when it is broken.
std::optional<std::string> percentDecoded(std::string_view text);

/// Matches the segments against a pattern such as "api/videos/{}/revisions" and returns what stands for each "{}".
std::optional<std::vector<std::string>> matchRoute(std::string_view pattern, const std::vector<std::string>& segments);

} // namespace orvo::server
