#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Texts for sharing. Pure functions.
namespace orvo {

/// A text without leading and trailing white space, including non-ASCII white space.
std::string_view trimmed(std::string_view text);

/// The web origins in a text, separated by commas and line breaks, trimmed; skips empty ones.
std::vector<std::string> authorisedDomains(std::string_view text);

/// The canonical address of a publishing server: without surrounding white space and trailing slashes.
std::string serverAddress(std::string_view typed);

/// Throws `captureError` with a text for the user when an address contains a user name or password, because it would be
/// stored and shown.
void refuseUser(std::string_view address);

/// The redirect address of the server for Google's authorisation of Drive.
std::string driveReturnAddress(std::string_view server);

/// The HTML that embeds a published video. `server` is the publishing server's address.
std::string embedCode(std::string_view server, std::string_view videoId);

} // namespace orvo
