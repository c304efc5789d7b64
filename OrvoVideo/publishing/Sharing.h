#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The texts of sharing. Pure functions.
namespace orvo {

/// A text without white space and line breaks at its ends, those beyond ASCII too.
std::string_view trimmed(std::string_view text);

/// The web origins that a person has typed, separated by commas and line breaks, each trimmed; empty ones are left out.
std::vector<std::string> authorisedDomains(std::string_view text);

/// The line of HTML that shows a published video within another page. `server` is the publishing server's address.
std::string embedCode(std::string_view server, std::string_view videoId);

} // namespace orvo
